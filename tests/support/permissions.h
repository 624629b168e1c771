#pragma once

#include <functional>
#include <optional>
#include <string>

namespace tw::test {

// Runs `body` in a child process that obeys file permissions even as root (it drops the
// capabilities that override them, for itself and the programs it starts), so that a
// folder made unreadable with chmod really is unreadable there. This process keeps its
// capabilities, so later tests in it are unaffected. Returns what the body returned, or
// nothing when the capabilities could not be dropped (the test should then skip).
[[nodiscard]] std::optional<std::string> withFilePermissionsEnforced(const std::function<std::string()>& body);

// Makes a folder immutable while the guard lives: not even root may add, remove or rename
// its entries. `ok()` is false (with chattr's reason) where the file system has no such flag.
class ImmutableFolder {
 public:
  explicit ImmutableFolder(std::string path);
  ~ImmutableFolder();
  ImmutableFolder(const ImmutableFolder&) = delete;
  ImmutableFolder& operator=(const ImmutableFolder&) = delete;

  [[nodiscard]] bool ok() const { return ok_; }
  [[nodiscard]] const std::string& reason() const { return reason_; }

 private:
  std::string path_;
  bool ok_ = false;
  std::string reason_;
};

}  // namespace tw::test
