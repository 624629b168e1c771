#include <fcntl.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <string>

#include "fs/beneath.h"
#include "fs/file_identity.h"
#include "fs/open_folder.h"

namespace tw {

UniqueFd openFolderBeneath(int topFd, std::string_view relative, std::error_code& error) {
  error.clear();
  UniqueFd current = openFolderAt(topFd, ".");
  for (std::size_t start = 0; current && start < relative.size();) {
    const std::size_t slash = std::min(relative.find('/', start), relative.size());
    const std::string piece(relative.substr(start, slash - start));
    if (piece.empty() || piece == "." || piece == "..") {
      error = std::make_error_code(std::errc::invalid_argument);
      return {};
    }
    UniqueFd next = openFolderAt(current.get(), piece.c_str());
    if (!next) {
      error = errno == ENOTDIR ? std::make_error_code(std::errc::too_many_symbolic_link_levels)
                               : std::error_code{errno, std::generic_category()};
      return {};
    }
    current = std::move(next);
    start = slash + 1;
  }
  return current;
}

bool isMountRoot(int folderFd) {
  struct statfs volume {};
  char path[MAXPATHLEN];
  if (::fstatfs(folderFd, &volume) != 0 || ::fcntl(folderFd, F_GETPATH, path) != 0) return false;
  return std::strcmp(volume.f_mntonname, path) == 0;
}

}  // namespace tw
