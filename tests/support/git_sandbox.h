#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "support/fake_home.h"
#include "support/scoped_environment.h"

namespace tw::test {

// Real git for tests: a fixed identity and neither system nor global configuration, set in
// this process's environment (so child processes inherit it) while the object lives.
class GitSandbox {
 public:
  GitSandbox();
  GitSandbox(const GitSandbox&) = delete;
  GitSandbox& operator=(const GitSandbox&) = delete;

  // Runs `git -C folder args...`; throws with git's message when it fails.
  std::string run(const std::string& folder, const std::vector<std::string>& arguments) const;
  // The same without the check.
  [[nodiscard]] RunResult tryRun(const std::string& folder, const std::vector<std::string>& arguments) const;

  // A repository on branch "main" with one commit of README.md.
  void initRepository(const std::string& path) const;
  // The same, pushed to a new bare repository at `remote` that it knows as "origin".
  void initRepositoryWithRemote(const std::string& path, const std::string& remote) const;
  // Writes `file` (relative to the repository) with `contents` and commits it.
  void commitFile(const std::string& repo, const std::string& file, const std::string& contents) const;

 private:
  ScopedEnvironment environment_;
};

}  // namespace tw::test
