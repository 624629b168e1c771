#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "core/context.h"
#include "support/scoped_environment.h"

namespace tw::test {

// A temporary home folder for one test: $HOME, $XDG_DATA_HOME, $XDG_CONFIG_HOME and
// $XDG_CACHE_HOME point into it while it lives (so child processes use it too), and it is
// removed afterwards (folders made unreadable by a test are made readable again first).
// The code under test learns of it through context().
class FakeHome {
 public:
  FakeHome();
  ~FakeHome();
  FakeHome(const FakeHome&) = delete;
  FakeHome& operator=(const FakeHome&) = delete;

  [[nodiscard]] const std::string& path() const { return path_; }

  // The context of this fake home: its folders, this process's environment as it is now
  // (so variables a test sets later, such as git's, are in it), and one settings store and
  // history shared by every context it hands out.
  [[nodiscard]] Context context() const;
  // The same with `env` as the whole environment, for code that reads variables from it.
  [[nodiscard]] Context context(Environment env) const;
  // An absolute path for a path relative to the fake home.
  [[nodiscard]] std::string operator/(const std::string& relative) const;

  // Creates a file (and its folders) with `size` bytes of filler, or the given contents.
  std::string file(const std::string& relative, std::int64_t size = 0);
  std::string fileWithContents(const std::string& relative, const std::string& contents);
  std::string folder(const std::string& relative);

 private:
  std::string path_;
  ScopedEnvironment environment_;
  std::shared_ptr<Settings> settings_;
  std::shared_ptr<History> history_;
};

// Filesystem helpers for tests, all on absolute paths.
void writeFile(const std::string& path, const std::string& contents);
void writeFilledFile(const std::string& path, std::int64_t size, char fill = 'x');
void makeFolders(const std::string& path);
void setModificationTime(const std::string& path, std::int64_t secondsAgo);
[[nodiscard]] bool exists(const std::string& path);
[[nodiscard]] std::string readFile(const std::string& path);
void removeTree(const std::string& path);
[[nodiscard]] std::string makeTempFolder(const std::string& prefix = "tw-test");
// Writes a script and makes it executable; returns its path.
std::string writeExecutable(const std::string& path, const std::string& script);

// A temporary folder of its own (outside any fake home), removed with its contents when
// the object goes.
class TempFolder {
 public:
  explicit TempFolder(const std::string& prefix = "tw-outside") : path_(makeTempFolder(prefix)) {}
  ~TempFolder() { removeTree(path_); }
  TempFolder(const TempFolder&) = delete;
  TempFolder& operator=(const TempFolder&) = delete;

  [[nodiscard]] const std::string& path() const { return path_; }

  // The context of this fake home: its folders, this process's environment as it is now
  // (so variables a test sets later, such as git's, are in it), and one settings store and
  // history shared by every context it hands out.
  [[nodiscard]] Context context() const;
  [[nodiscard]] std::string operator/(const std::string& relative) const { return path_ + "/" + relative; }

 private:
  std::string path_;
};

struct RunResult {
  int code = -1;
  std::string out;
  std::string err;
};

// This process's environment as "NAME=value" entries with `changes` applied (a null value
// unsets), for a child's envp.
[[nodiscard]] std::vector<std::string> environmentWith(
    const std::map<std::string, std::optional<std::string>>& changes);

// Runs `command` (argv[0] is looked up in PATH) and waits; `environment` entries are
// set (a null value unsets) on top of this process's environment.
RunResult runProcess(const std::vector<std::string>& command,
                     const std::map<std::string, std::optional<std::string>>& environment = {},
                     const std::string& workingDirectory = "");

// Runs the built tidewarden binary under `timeout`, so a command that blocks fails its test
// (exit 124) instead of hanging the suite.
RunResult runTidewardenWithin(int seconds, const std::vector<std::string>& arguments);

// Runs the built tidewarden binary with these arguments.
RunResult runTidewarden(const std::vector<std::string>& arguments,
                        const std::map<std::string, std::optional<std::string>>& environment = {},
                        const std::string& workingDirectory = "");

}  // namespace tw::test
