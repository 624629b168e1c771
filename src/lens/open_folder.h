#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "core/unique_fd.h"

namespace tw {

// Device and inode of an open file: what "the same folder" means when a walk comes back to
// a folder or checks that the folder it opened is the one it listed.
struct FileIdentity {
  std::uint64_t device = 0;
  std::uint64_t inode = 0;
  friend bool operator==(const FileIdentity&, const FileIdentity&) = default;
};

[[nodiscard]] std::optional<FileIdentity> identityOf(int fd);

// Opens a folder for listing without following a link in its last piece. Paths longer than
// the kernel's limit are opened piece by piece relative to the last opened part.
[[nodiscard]] UniqueFd openFolder(const std::string& path);

// Opens `name` inside an open folder as a folder, never following a link.
[[nodiscard]] UniqueFd openFolderAt(int parentFd, const char* name);

}  // namespace tw
