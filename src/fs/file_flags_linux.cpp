#include <fcntl.h>
#include <linux/fs.h>
#include <sys/ioctl.h>
#include <sys/stat.h>

#include <cerrno>

#include "fs/file_flags.h"
#include "fs/unique_fd.h"

namespace tw {

std::optional<FileFlags> readFileFlags(int fd) {
  int flags = 0;
  if (::ioctl(fd, FS_IOC_GETFLAGS, &flags) != 0) return std::nullopt;
  FileFlags result;
  result.immutable = (flags & FS_IMMUTABLE_FL) != 0;
  result.appendOnly = (flags & FS_APPEND_FL) != 0;
  result.compressed = (flags & FS_COMPR_FL) != 0;
  return result;
}

std::error_code clearProtectionFlagsAt(int folderFd, const char* name) {
  struct stat info {};
  if (::fstatat(folderFd, name, &info, AT_SYMLINK_NOFOLLOW) != 0) return {errno, std::generic_category()};
  // Only files and folders are ours to unlock; opening a device could act on the device.
  if (!S_ISREG(info.st_mode) && !S_ISDIR(info.st_mode)) return {};
  const int mode = S_ISDIR(info.st_mode) ? O_RDONLY | O_DIRECTORY : O_RDONLY;
  UniqueFd fd{::openat(folderFd, name, mode | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK | O_NOCTTY)};
  if (!fd) return {errno, std::generic_category()};
  struct stat opened {};
  if (::fstat(fd.get(), &opened) != 0 || opened.st_ino != info.st_ino || opened.st_dev != info.st_dev) {
    return {ESTALE, std::generic_category()};  // swapped since it was looked at
  }
  int flags = 0;
  if (::ioctl(fd.get(), FS_IOC_GETFLAGS, &flags) != 0) {
    // File systems without attribute flags have nothing to clear.
    return errno == ENOTTY || errno == EOPNOTSUPP ? std::error_code{} : std::error_code{errno, std::generic_category()};
  }
  const int cleared = flags & ~(FS_IMMUTABLE_FL | FS_APPEND_FL);
  if (cleared == flags) return {};
  if (::ioctl(fd.get(), FS_IOC_SETFLAGS, &cleared) != 0) return {errno, std::generic_category()};
  return {};
}

}  // namespace tw
