#include "support/https_feed_server.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <sstream>
#include <stdexcept>

#include "support/programs.h"

extern char** environ;

namespace tw::test {
namespace {

// The first line the server prints, its port; waits at most ten seconds.
int readPort(int fd) {
  std::string line;
  char c = 0;
  while (line.find('\n') == std::string::npos) {
    pollfd ready{fd, POLLIN, 0};
    if (::poll(&ready, 1, 10'000) <= 0 || ::read(fd, &c, 1) != 1) return 0;
    line += c;
  }
  return std::atoi(line.c_str());
}

}  // namespace

std::optional<std::string> HttpsFeedServer::unavailableReason() {
  if (!isInstalled("python3")) return "python3 is not installed; it serves the test feed";
  if (!isInstalled("openssl")) return "openssl is not installed; it makes the test certificate";
  return std::nullopt;
}

HttpsFeedServer::HttpsFeedServer() {
  const auto made = runProcess({"openssl", "req", "-x509", "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:prime256v1",
                                "-nodes", "-days", "2", "-subj", "/CN=127.0.0.1", "-addext",
                                "subjectAltName=IP:127.0.0.1", "-keyout", folder_ / "key.pem", "-out", certificate()});
  if (made.code != 0) throw std::runtime_error("openssl could not make a certificate: " + made.err);
  makeFolders(folder_ / "files");

  int output[2];
  if (::pipe2(output, O_CLOEXEC) != 0) throw std::runtime_error("pipe");
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
  posix_spawn_file_actions_adddup2(&actions, output[1], 1);
  // Clients that hang up mid-answer (the size cap, the time-out) make http.server print
  // tracebacks; they go to a log beside the files instead of the test's output.
  const std::string log = folder_ / "server.log";
  posix_spawn_file_actions_addopen(&actions, 2, log.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
  std::vector<std::string> arguments{"python3",         TIDEWARDEN_TEST_SUPPORT_DIR "/https_feed_server.py",
                                     certificate(),     folder_ / "key.pem",
                                     folder_ / "files", folder_ / "requests.jsonl"};
  std::vector<char*> argv;
  for (auto& argument : arguments) argv.push_back(argument.data());
  argv.push_back(nullptr);
  const int spawned = ::posix_spawnp(&pid_, "python3", &actions, nullptr, argv.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  ::close(output[1]);
  if (spawned != 0) pid_ = -1;
  port_ = pid_ > 0 ? readPort(output[0]) : 0;
  ::close(output[0]);
  if (port_ <= 0) {
    stop();
    throw std::runtime_error("the test HTTPS server did not start");
  }
}

HttpsFeedServer::~HttpsFeedServer() { stop(); }

void HttpsFeedServer::stop() {
  if (pid_ <= 0) return;
  ::kill(pid_, SIGTERM);
  int status = 0;
  while (::waitpid(pid_, &status, 0) < 0 && errno == EINTR) {
  }
  pid_ = -1;
}

std::string HttpsFeedServer::url(const std::string& path) const {
  return "https://127.0.0.1:" + std::to_string(port_) + "/" + path;
}

void HttpsFeedServer::serve(const std::string& name, const std::string& body) const {
  writeFile(folder_ / ("files/" + name), body);
}

std::vector<nlohmann::json> HttpsFeedServer::requests() const {
  std::vector<nlohmann::json> lines;
  if (!exists(folder_ / "requests.jsonl")) return lines;
  std::istringstream log(readFile(folder_ / "requests.jsonl"));
  for (std::string line; std::getline(log, line);) lines.push_back(nlohmann::json::parse(line));
  return lines;
}

}  // namespace tw::test
