#pragma once

#include <optional>
#include <string>
#include <system_error>

namespace tw {

// The protection flags a file can carry (chflags on macOS, the inode attribute flags on
// Linux) that matter to us.
struct FileFlags {
  bool immutable = false;
  bool appendOnly = false;
  bool compressed = false;
  bool system = false;  // any other flag that marks a file as not ours to change

  [[nodiscard]] bool protectedFromChanges() const { return immutable || appendOnly || compressed || system; }
};

// Flags of an open file; nothing when the file system does not report them.
[[nodiscard]] std::optional<FileFlags> readFileFlags(int fd);

// Clears the immutable and append-only flags of the regular file or folder `name` in an
// open folder (AT_FDCWD: a path). Links are not followed, and anything else (a device, a
// FIFO, a socket) is never opened or changed. Success when there was nothing to clear.
[[nodiscard]] std::error_code clearProtectionFlagsAt(int folderFd, const char* name);
// The same for a path.
[[nodiscard]] std::error_code clearProtectionFlags(const std::string& path);

}  // namespace tw
