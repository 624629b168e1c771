#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace tw {

// What we compare of a file before and after touching it: identity, links, length,
// ownership and dates. Filled from lstat or fstat.
struct FileState {
  std::uint64_t dev = 0;
  std::uint64_t ino = 0;
  std::uint64_t links = 0;
  std::int64_t size = 0;
  std::uint32_t mode = 0;  // type and permission bits
  std::uint32_t owner = 0;
  std::int64_t modifiedNs = 0;
  std::int64_t changedNs = 0;

  [[nodiscard]] bool isRegular() const;
  [[nodiscard]] bool sameFile(const FileState& other) const { return dev == other.dev && ino == other.ino; }
  // True when `now` is still the single-link file we saw earlier, with the same length
  // and dates: nothing has written to it, renamed another file over it or linked it.
  [[nodiscard]] bool unchangedIn(const FileState& now) const {
    return sameFile(now) && size == now.size && modifiedNs == now.modifiedNs && changedNs == now.changedNs &&
           now.links == 1;
  }
};

// The file itself, not what a link points to; nothing when it cannot be read.
[[nodiscard]] std::optional<FileState> linkState(const std::string& path);
[[nodiscard]] std::optional<FileState> openFileState(int fd);

[[nodiscard]] std::uint32_t effectiveUser();

}  // namespace tw
