#include "screens/resolved_folders.h"

#include <sys/stat.h>

#include "fs/file_io.h"
#include "fs/path.h"

namespace tw {
namespace {

// "." and ".." mean something else after a link than they do lexically.
bool plainAbsolute(const std::string& path) { return path.starts_with('/') && standardizePath(path) == path; }

}  // namespace

std::string ResolvedFolders::resolve(const std::string& path) {
  if (path == "/") return path;
  if (!plainAbsolute(path)) return resolvedPath(path).value_or(path);
  if (const auto found = known_.find(path); found != known_.end()) return found->second;
  std::string result;
  struct stat info {};
  if (::lstat(path.c_str(), &info) == 0 && S_ISLNK(info.st_mode)) {
    result = resolvedPath(path).value_or(path);
  } else {
    result = joinPath(resolve(parentPath(path)), lastPathComponent(path));
  }
  known_.emplace(path, result);
  return result;
}

}  // namespace tw
