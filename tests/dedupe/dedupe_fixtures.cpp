#include "dedupe_fixtures.h"

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <random>
#include <stdexcept>
#include <thread>

#include "core/settings.h"
#include "support/fake_home.h"

extern char** environ;

namespace tw::test {

std::string randomBytes(std::int64_t size, std::uint64_t seed) {
  std::mt19937_64 generator(seed);
  std::string bytes(static_cast<std::size_t>(size), '\0');
  for (std::size_t i = 0; i < bytes.size(); i += 8) {
    const std::uint64_t value = generator();
    for (std::size_t j = 0; j < 8 && i + j < bytes.size(); ++j) bytes[i + j] = static_cast<char>(value >> (8 * j));
  }
  return bytes;
}

std::string put(const std::string& path, const std::string& contents) {
  writeFile(path, contents);
  return path;
}

std::vector<std::string> copies(const std::string& contents, const std::vector<std::string>& paths) {
  for (const auto& path : paths) put(path, contents);
  return paths;
}

std::set<std::vector<std::string>> pathSets(const std::vector<Dedupe::DupSet>& sets) {
  std::set<std::vector<std::string>> result;
  for (const auto& set : sets) result.insert(set.paths);
  return result;
}

void setProjectRoots(const FakeHome& home, const std::vector<std::string>& roots) {
  home.context().settings->set(DevSettings::projectRootsKey, nlohmann::json(roots));
}

HeldOpen::HeldOpen(const std::string& path) : path_(path) {
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, 0, path.c_str(), O_RDONLY, 0);
  char sleepName[] = "sleep";
  char seconds[] = "30";
  char* argv[] = {sleepName, seconds, nullptr};
  const int spawned = ::posix_spawnp(&pid_, "sleep", &actions, nullptr, argv, environ);
  posix_spawn_file_actions_destroy(&actions);
  if (spawned != 0) throw std::runtime_error("could not start sleep");
  waitUntilHeld();
}

// A shell reads one line from a pipe, then becomes `sleep` (the same process) with the file
// as its standard input.
HeldOpen::HeldOpen(const std::string& path, Later) : path_(path) {
  int pipeEnds[2];
  if (::pipe2(pipeEnds, O_CLOEXEC) != 0) throw std::runtime_error("no pipe");
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, pipeEnds[0], 0);
  char shell[] = "sh";
  char command[] = "-c";
  char script[] = "read line; exec sleep 30 < \"$0\"";
  std::string file = path;
  char* argv[] = {shell, command, script, file.data(), nullptr};
  const int spawned = ::posix_spawnp(&pid_, "sh", &actions, nullptr, argv, environ);
  posix_spawn_file_actions_destroy(&actions);
  ::close(pipeEnds[0]);
  go_ = pipeEnds[1];
  if (spawned != 0) throw std::runtime_error("could not start sh");
}

void HeldOpen::open() {
  if (::write(go_, "\n", 1) != 1) throw std::runtime_error("the child is gone");
  waitUntilHeld();
}

// The child opens the file before it runs sleep; wait until it really holds it.
void HeldOpen::waitUntilHeld() const {
  const std::string held = "/proc/" + std::to_string(pid_) + "/fd/0";
  for (int attempt = 0; attempt < 500; ++attempt) {
    std::error_code error;
    if (std::filesystem::read_symlink(held, error) == path_) return;
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  throw std::runtime_error("the child never opened " + path_);
}

HeldOpen::~HeldOpen() {
  if (go_ >= 0) ::close(go_);
  ::kill(pid_, SIGKILL);
  int status = 0;
  ::waitpid(pid_, &status, 0);
}

}  // namespace tw::test
