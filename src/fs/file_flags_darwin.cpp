#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "fs/file_flags.h"

namespace tw {

std::optional<FileFlags> readFileFlags(int fd) {
  struct stat info {};
  if (::fstat(fd, &info) != 0) return std::nullopt;
  FileFlags result;
  result.immutable = (info.st_flags & (UF_IMMUTABLE | SF_IMMUTABLE)) != 0;
  result.appendOnly = (info.st_flags & (UF_APPEND | SF_APPEND)) != 0;
  result.compressed = (info.st_flags & UF_COMPRESSED) != 0;
  // Anything outside the user-settable flags we accept is treated as protected.
  result.system = (info.st_flags & ~0xffd9u & 0xffffu) != 0 || (info.st_flags & 0xffff0000u) != 0;
  return result;
}

std::error_code clearProtectionFlagsAt(int folderFd, const char* name) {
  struct stat info {};
  if (::fstatat(folderFd, name, &info, AT_SYMLINK_NOFOLLOW) != 0) return {errno, std::generic_category()};
  // Only files and folders are ours to unlock; opening a device could act on the device.
  if (!S_ISREG(info.st_mode) && !S_ISDIR(info.st_mode)) return {};
  const unsigned cleared = info.st_flags & ~static_cast<unsigned>(UF_IMMUTABLE | SF_IMMUTABLE | UF_APPEND | SF_APPEND);
  if (cleared == info.st_flags) return {};
  const int mode = S_ISDIR(info.st_mode) ? O_RDONLY | O_DIRECTORY : O_RDONLY;
  const int fd = ::openat(folderFd, name, mode | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
  if (fd < 0) return {errno, std::generic_category()};
  const int result = ::fchflags(fd, cleared);
  const int error = errno;
  ::close(fd);
  if (result != 0) return {error, std::generic_category()};
  return {};
}

}  // namespace tw
