#include "support/service_process.h"

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstring>
#include <thread>

#include "support/fake_home.h"

namespace tw::test {

std::unique_ptr<ServiceProcess> ServiceProcess::start(
    const std::vector<std::string>& command, const std::string& logFile, std::string& whyNot,
    const std::map<std::string, std::optional<std::string>>& environment) {
  std::vector<std::string> envText = environmentWith(environment);
  std::vector<char*> envp;
  for (auto& text : envText) envp.push_back(text.data());
  envp.push_back(nullptr);
  // Should the test die half-way, the daemon goes with it instead of outliving the run.
  std::vector<std::string> args{"setpriv", "--pdeathsig", "TERM", "--"};
  args.insert(args.end(), command.begin(), command.end());
  std::vector<char*> argv;
  for (auto& arg : args) argv.push_back(arg.data());
  argv.push_back(nullptr);

  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
  posix_spawn_file_actions_addopen(&actions, 1, logFile.c_str(), O_WRONLY | O_CREAT | O_APPEND, 0644);
  posix_spawn_file_actions_adddup2(&actions, 1, 2);
  pid_t pid = -1;
  const int spawned = ::posix_spawnp(&pid, argv[0], &actions, nullptr, argv.data(), envp.data());
  posix_spawn_file_actions_destroy(&actions);
  if (spawned != 0) {
    whyNot = command.front() + " could not be started: " + std::strerror(spawned);
    return nullptr;
  }
  std::unique_ptr<ServiceProcess> process(new ServiceProcess);
  process->pid_ = pid;
  process->logFile_ = logFile;
  return process;
}

ServiceProcess::~ServiceProcess() { stop(); }

bool ServiceProcess::running() {
  if (pid_ < 0) return false;
  int status = 0;
  const pid_t done = ::waitpid(pid_, &status, WNOHANG);
  if (done == pid_) pid_ = -1;
  return pid_ >= 0;
}

void ServiceProcess::stop(std::chrono::seconds grace) {
  if (!running()) return;
  ::kill(pid_, SIGTERM);
  const auto deadline = std::chrono::steady_clock::now() + grace;
  while (running() && std::chrono::steady_clock::now() < deadline) {
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
  }
  if (!running()) return;
  ::kill(pid_, SIGKILL);
  int status = 0;
  while (::waitpid(pid_, &status, 0) < 0 && errno == EINTR) {
  }
  pid_ = -1;
}

std::string ServiceProcess::logTail(std::size_t bytes) const {
  const std::string log = exists(logFile_) ? readFile(logFile_) : std::string();
  return log.size() > bytes ? log.substr(log.size() - bytes) : log;
}

}  // namespace tw::test
