#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

namespace tw::test {

// A small file system mounted on a loop device (or a tmpfs) inside a temporary folder, for
// tests that need another device or extent sharing. Needs root and the mkfs tools; when it
// cannot be made, `ready()` is false and `reason()` says why.
class ScratchVolume {
 public:
  // type: "xfs" (with reflink), "btrfs" or "tmpfs".
  explicit ScratchVolume(const std::string& type, const std::string& mountPoint = "");
  ~ScratchVolume();
  ScratchVolume(const ScratchVolume&) = delete;
  ScratchVolume& operator=(const ScratchVolume&) = delete;

  [[nodiscard]] bool ready() const { return ready_; }
  [[nodiscard]] const std::string& reason() const { return reason_; }
  [[nodiscard]] const std::string& path() const { return mountPoint_; }

 private:
  std::string folder_;
  std::string mountPoint_;
  bool ownsMountPoint_ = false;
  bool ready_ = false;
  std::string reason_;
};

// A varied tree, the same for the same seed: nested folders, files from empty to a few MiB,
// sparse files, symbolic links, hard links across folders and empty folders.
void makeVariedTree(const std::string& root, unsigned seed);

// Sums of st_blocks * 512 over every non-folder entry below `root`, as `find` reports them
// (an independent tool): `everyName` counts each name, `eachInodeOnce` each file once.
struct FindTotals {
  std::int64_t everyName = 0;
  std::int64_t eachInodeOnce = 0;
  std::int64_t entries = 0;  // every entry below root, folders included
};
[[nodiscard]] FindTotals findTotals(const std::string& root);

// Creates a chain of `depth` nested folders named `name` below `root` with descriptors (the
// path soon exceeds what one system call accepts) and a file of `fileBytes` at the bottom.
void makeDeepChain(const std::string& root, int depth, const std::string& name, std::int64_t fileBytes);

// Whether the tests run with the power to ignore permissions (root does).
[[nodiscard]] bool permissionsAreIgnored();

// Runs `work` in a child process as the unprivileged user "nobody", so that permissions
// apply even when the tests run as root, and returns its result; nothing when the switch is
// not possible (the tests do not run as root). Folders `work` reads must be open to others.
[[nodiscard]] std::optional<std::int64_t> asNobody(const std::function<std::int64_t()>& work);

}  // namespace tw::test
