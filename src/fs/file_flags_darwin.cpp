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

std::error_code clearProtectionFlags(const std::string& path) {
  struct stat info {};
  if (::lstat(path.c_str(), &info) != 0) return {errno, std::generic_category()};
  const unsigned cleared = info.st_flags & ~static_cast<unsigned>(UF_IMMUTABLE | SF_IMMUTABLE | UF_APPEND | SF_APPEND);
  if (cleared == info.st_flags) return {};
  if (::lchflags(path.c_str(), cleared) != 0) return {errno, std::generic_category()};
  return {};
}

}  // namespace tw
