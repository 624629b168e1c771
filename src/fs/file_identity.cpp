#include "fs/file_identity.h"

#include <sys/stat.h>

namespace tw {
namespace {

FileIdentity identityFrom(const struct stat& info) {
  return {static_cast<std::uint64_t>(info.st_dev), static_cast<std::uint64_t>(info.st_ino),
          static_cast<std::uint32_t>(info.st_mode & S_IFMT)};
}

}  // namespace

std::optional<FileIdentity> identityOf(int fd) {
  struct stat info {};
  if (::fstat(fd, &info) != 0) return std::nullopt;
  return identityFrom(info);
}

std::optional<FileIdentity> identityOfPath(const std::string& path) {
  struct stat info {};
  if (::lstat(path.c_str(), &info) != 0) return std::nullopt;
  return identityFrom(info);
}

}  // namespace tw
