#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

namespace tw {

// Device and inode: what "the same file" means when a walk comes back to a folder, when
// a removal checks that a path still names what was listed, and when hard links or bind
// mounts show one file under several names. Both are kept in 64 bits, as Linux reports them.
// The file type rides along: a file system may give a new object the inode number of one
// just deleted, and a folder replaced by a file or a link must still compare different. It
// is 0 where the source does not say; such identities compare only with their own kind.
struct FileIdentity {
  std::uint64_t device = 0;
  std::uint64_t inode = 0;
  std::uint32_t type = 0;  // the file-type bits of the mode (S_IFMT), or 0
  friend bool operator==(const FileIdentity&, const FileIdentity&) = default;
  friend auto operator<=>(const FileIdentity&, const FileIdentity&) = default;
};

// The identity of an open file.
[[nodiscard]] std::optional<FileIdentity> identityOf(int fd);
// The identity of what a path names itself (a link is not followed).
[[nodiscard]] std::optional<FileIdentity> identityOfPath(const std::string& path);

}  // namespace tw

template <>
struct std::hash<tw::FileIdentity> {
  std::size_t operator()(const tw::FileIdentity& identity) const noexcept {
    return std::hash<std::uint64_t>{}(identity.inode * 0x9e3779b97f4a7c15ULL ^ identity.device);
  }
};
