#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <set>
#include <string>

#include "lens/disk_scanner.h"

namespace tw::test {

inline constexpr std::int64_t kMiB = 1024 * 1024;

// A small file system, XFS with reflink on a loop device or a tmpfs, mounted inside a
// temporary folder, for tests that need another device or extent sharing. Needs root and the mkfs tools; when it
// cannot be made, `ready()` is false and `reason()` says why.
class ScratchVolume {
 public:
  // type: "xfs" or "tmpfs".
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
  std::int64_t entries = 0;      // every entry below root, folders included
  std::int64_t folderBytes = 0;  // the folders' own blocks, which du also counts
};
[[nodiscard]] FindTotals findTotals(const std::string& root);

// The names of the children a scan kept below `node`.
[[nodiscard]] std::set<std::string> childNames(const FSNode& node);

// What lstat says a path occupies on disk.
[[nodiscard]] std::int64_t blocksOf(const std::string& path);

// Creates a chain of `depth` nested folders named `name` below `root` with descriptors (the
// path soon exceeds what one system call accepts) and a file of `fileBytes` at the bottom.
void makeDeepChain(const std::string& root, int depth, const std::string& name, std::int64_t fileBytes);

// Runs `work` as it would run for an ordinary user: directly, or, when the tests run as root
// (who ignores permissions), in a child process switched to the user "nobody". Folders
// `work` reads must be open to others.
[[nodiscard]] std::int64_t withPermissionsApplied(const std::function<std::int64_t()>& work);

}  // namespace tw::test
