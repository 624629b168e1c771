#include "support/git_sandbox.h"

#include <cstdlib>
#include <stdexcept>

namespace tw::test {

GitSandbox::GitSandbox()
    : environment_({
          {"GIT_AUTHOR_NAME", "Test Author"},
          {"GIT_AUTHOR_EMAIL", "author@example.invalid"},
          {"GIT_COMMITTER_NAME", "Test Author"},
          {"GIT_COMMITTER_EMAIL", "author@example.invalid"},
          {"GIT_CONFIG_NOSYSTEM", "1"},
          {"GIT_CONFIG_GLOBAL", "/dev/null"},
          {"GIT_TERMINAL_PROMPT", "0"},
      }) {}

RunResult GitSandbox::tryRun(const std::string& folder, const std::vector<std::string>& arguments) const {
  std::vector<std::string> command{"git", "-C", folder};
  command.insert(command.end(), arguments.begin(), arguments.end());
  return runProcess(command);
}

std::string GitSandbox::run(const std::string& folder, const std::vector<std::string>& arguments) const {
  const auto result = tryRun(folder, arguments);
  if (result.code != 0) {
    std::string words;
    for (const auto& argument : arguments) words += " " + argument;
    throw std::runtime_error("git" + words + " in " + folder + " failed: " + result.err);
  }
  return result.out;
}

void GitSandbox::initRepository(const std::string& path) const {
  makeFolders(path);
  run(path, {"init", "--quiet", "-b", "main"});
  commitFile(path, "README.md", "hello\n");
}

void GitSandbox::initRepositoryWithRemote(const std::string& path, const std::string& remote) const {
  makeFolders(remote);
  run(remote, {"init", "--quiet", "--bare", "-b", "main"});
  initRepository(path);
  run(path, {"remote", "add", "origin", remote});
  run(path, {"push", "--quiet", "origin", "main"});
}

void GitSandbox::commitFile(const std::string& repo, const std::string& file, const std::string& contents) const {
  writeFile(repo + "/" + file, contents);
  run(repo, {"add", "--", file});
  run(repo, {"commit", "--quiet", "-m", "Change " + file});
}

}  // namespace tw::test
