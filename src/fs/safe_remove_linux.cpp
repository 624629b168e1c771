#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "fs/path.h"
#include "fs/safe_remove.h"
#include "fs/tree_remover.h"

namespace tw {
namespace {

std::error_code lastError() { return {errno, std::generic_category()}; }

}  // namespace

std::error_code removeTreeSafely(const std::string& path) {
  struct stat info {};
  if (::lstat(path.c_str(), &info) != 0) return errno == ENOENT ? std::error_code{} : lastError();
  if (!S_ISDIR(info.st_mode)) {
    if (::unlink(path.c_str()) != 0 && errno != ENOENT) return lastError();
    return {};
  }
  const std::string name = lastPathComponent(path);
  if (name == "/" || name == "." || name == "..") return std::make_error_code(std::errc::invalid_argument);

  const UniqueFd parent = openFolder(parentPath(path));
  if (!parent) return lastError();
  UniqueFd start = openFolderAt(parent.get(), name.c_str());
  if (!start) {
    // Swapped for a link since the lstat: remove the link, never what it points to.
    if (errno == ELOOP || errno == ENOTDIR) {
      if (::unlinkat(parent.get(), name.c_str(), 0) != 0 && errno != ENOENT) return lastError();
      return {};
    }
    return errno == ENOENT ? std::error_code{} : lastError();
  }
  const auto identity = identityOf(start.get());
  if (!identity || identity->device != static_cast<std::uint64_t>(info.st_dev) ||
      identity->inode != static_cast<std::uint64_t>(info.st_ino)) {
    return std::make_error_code(std::errc::resource_unavailable_try_again);
  }

  TreeRemover remover;
  const bool walkedWhole = walkFolders(start.get(), remover, WalkRules{.stayOnDevice = true});
  start.reset();
  if (!walkedWhole) return std::make_error_code(std::errc::resource_unavailable_try_again);
  if (remover.error()) return remover.error();
  if (::unlinkat(parent.get(), name.c_str(), AT_REMOVEDIR) != 0 && errno != ENOENT) return lastError();
  return {};
}

}  // namespace tw
