#include "fs/open_folder.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <climits>

namespace tw {
namespace {

constexpr int kFolderFlags = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC | O_NOCTTY;

}  // namespace

UniqueFd openFolderAt(int parentFd, const char* name) { return UniqueFd{::openat(parentFd, name, kFolderFlags)}; }

UniqueFd openFolder(const std::string& path) {
  if (path.size() < PATH_MAX) return openFolderAt(AT_FDCWD, path.c_str());
  // Too long for one call: walk it in chunks that end at a slash, each relative to the last.
  UniqueFd base;
  std::size_t start = 0;
  while (start < path.size()) {
    std::size_t end = path.size();
    if (end - start >= PATH_MAX) {
      end = path.rfind('/', start + PATH_MAX - 1);
      if (end == std::string::npos || end <= start) return {};
    }
    const std::string chunk = path.substr(start, end - start);
    const bool last = end == path.size();
    const int dirFd = base ? base.get() : AT_FDCWD;
    const char* name = chunk.empty() ? "." : chunk.c_str();
    UniqueFd next{::openat(dirFd, name, last ? kFolderFlags : (O_RDONLY | O_DIRECTORY | O_CLOEXEC))};
    if (!next) return {};
    base = std::move(next);
    start = end + 1;
  }
  return base;
}

}  // namespace tw
