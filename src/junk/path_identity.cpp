#include "junk/path_identity.h"

#include <sys/stat.h>

namespace tw {

std::optional<PathIdentity> PathIdentity::of(const std::string& path) {
  struct stat info {};
  if (::lstat(path.c_str(), &info) != 0) return std::nullopt;
  return PathIdentity{static_cast<std::uint64_t>(info.st_dev), static_cast<std::uint64_t>(info.st_ino),
                      static_cast<std::uint32_t>(info.st_mode & S_IFMT)};
}

}  // namespace tw
