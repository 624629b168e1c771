#include "screens/resolved_folders.h"

#include <sys/stat.h>

#include "fs/file_io.h"
#include "fs/path.h"

namespace tw {
namespace {

// "." and ".." mean something else after a link than they do lexically, so only absolute
// paths made of plain names are resolved part by part.
bool plainAbsolute(std::string_view path) { return path.starts_with('/') && !hasDotOrEmptyPiece(path.substr(1)); }

}  // namespace

std::string ResolvedFolders::resolve(const std::string& path) {
  if (path == "/") return path;
  if (!plainAbsolute(path)) return resolvedPath(path).value_or(path);
  return resolvePlain(path);
}

std::string ResolvedFolders::resolveListedFolder(const std::string& folder) {
  return joinPath(resolve(parentPath(folder)), lastPathComponent(folder));
}

std::string ResolvedFolders::resolvePlain(std::string_view path) {
  if (const auto found = known_.find(path); found != known_.end()) return found->second;
  std::string result(path);
  struct stat info {};
  if (::lstat(result.c_str(), &info) == 0 && S_ISLNK(info.st_mode)) {
    result = resolvedPath(result).value_or(result);
  } else if (const std::size_t slash = path.rfind('/'); slash > 0) {
    const std::string parent = resolvePlain(path.substr(0, slash));
    result = (parent == "/" ? "" : parent) + std::string(path.substr(slash));
  }
  known_.emplace(path, result);
  return result;
}

}  // namespace tw
