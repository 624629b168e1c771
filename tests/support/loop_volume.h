#pragma once

#include <cstdint>
#include <memory>
#include <string>

namespace tw::test {

// A file system of its own for one test: an image file formatted and loop-mounted (or a
// tmpfs), unmounted and removed again when the object goes. Needs root and loop devices;
// when they are missing, mount() says why instead.
class LoopVolume {
 public:
  enum class Kind {
    xfsReflink,  // XFS that can share blocks between files
    xfsPlain,    // XFS without reflink
    btrfs,
    ext4,
    tmpfs,
  };

  // The mounted volume, or nothing with `whyNot` filled in. `bytes` is the image size
  // (sparse; XFS needs at least 300 MB).
  [[nodiscard]] static std::unique_ptr<LoopVolume> mount(Kind kind, std::int64_t bytes, std::string& whyNot,
                                                         const std::string& mountPoint = "");
  ~LoopVolume();
  LoopVolume(const LoopVolume&) = delete;
  LoopVolume& operator=(const LoopVolume&) = delete;

  [[nodiscard]] const std::string& path() const { return mountPoint_; }
  // Free bytes as df reports them, after the file system has settled its books.
  [[nodiscard]] std::int64_t freeBytes() const;

 private:
  LoopVolume() = default;

  std::string workFolder_;  // holds the image, and the mount point unless one was given
  std::string image_;
  std::string mountPoint_;
};

// Bytes of a file's data that the file system reports as shared with another file.
[[nodiscard]] std::int64_t sharedBytes(const std::string& path);

// True when the two files' data lie in exactly the same blocks on disk.
[[nodiscard]] bool sameBlocks(const std::string& a, const std::string& b);

}  // namespace tw::test
