#pragma once

#include <string>

namespace tw::test {

// Makes this test process, its later threads and the programs it starts obey file
// permissions even when it runs as root (drops the capabilities that override them), so
// that a folder made unreadable with chmod really is unreadable. False when that is not
// possible; the test should then skip.
[[nodiscard]] bool enforceFilePermissions();

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
