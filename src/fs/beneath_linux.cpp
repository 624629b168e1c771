#include <fcntl.h>
#include <linux/openat2.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <string>

#include "fs/beneath.h"
#include "fs/file_identity.h"
#include "fs/open_folder.h"
#include "fs/path.h"

namespace tw {
namespace {

std::error_code lastError() { return {errno, std::generic_category()}; }

// For kernels without openat2: the same rules, checked piece by piece.
UniqueFd openPieceByPiece(int topFd, std::string_view relative, std::error_code& error) {
  UniqueFd current = openFolderAt(topFd, ".");
  for (std::size_t start = 0; current && start < relative.size();) {
    const std::size_t slash = std::min(relative.find('/', start), relative.size());
    const std::string piece(relative.substr(start, slash - start));
    UniqueFd next = openFolderAt(current.get(), piece.c_str());
    if (!next) break;
    current = std::move(next);
    start = slash + 1;
  }
  if (!current) error = errno == ENOTDIR ? std::make_error_code(std::errc::too_many_symbolic_link_levels) : lastError();
  return current;
}

}  // namespace

UniqueFd openFolderBeneath(int topFd, std::string_view relative, std::error_code& error) {
  error.clear();
  if (relative.empty()) return openFolderAt(topFd, ".");
  if (relative.front() == '/' || hasDotOrEmptyPiece(relative)) {
    error = std::make_error_code(std::errc::invalid_argument);
    return {};
  }
  const std::string path(relative);
  open_how how{};
  how.flags = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;
  how.resolve = RESOLVE_NO_SYMLINKS | RESOLVE_BENEATH | RESOLVE_NO_MAGICLINKS;
  UniqueFd fd{static_cast<int>(::syscall(SYS_openat2, topFd, path.c_str(), &how, sizeof how))};
  if (fd) return fd;
  if (errno == ENOSYS || errno == E2BIG) return openPieceByPiece(topFd, relative, error);
  // A file where a folder should be is a piece that is not what was listed: treat it as a link.
  error = errno == ENOTDIR ? std::make_error_code(std::errc::too_many_symbolic_link_levels) : lastError();
  return {};
}

bool isMountRoot(int folderFd) {
  struct statx info {};
  if (::statx(folderFd, "", AT_EMPTY_PATH | AT_SYMLINK_NOFOLLOW, STATX_BASIC_STATS, &info) != 0) return false;
  return (info.stx_attributes_mask & STATX_ATTR_MOUNT_ROOT) != 0 && (info.stx_attributes & STATX_ATTR_MOUNT_ROOT) != 0;
}

}  // namespace tw
