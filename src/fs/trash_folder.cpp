#include "fs/trash_folder.h"

#include <sys/stat.h>

#include <algorithm>

#include "fs/path.h"

namespace tw {
namespace {

bool isFolderNoFollow(const std::string& path) {
  struct stat info {};
  return ::lstat(path.c_str(), &info) == 0 && S_ISDIR(info.st_mode);
}

bool isVolumeTrashName(std::string_view name) {
  if (name == ".Trash") return true;
  constexpr std::string_view prefix = ".Trash-";
  if (!name.starts_with(prefix) || name.size() == prefix.size()) return false;
  const std::string_view uid = name.substr(prefix.size());
  return std::all_of(uid.begin(), uid.end(), [](char c) { return c >= '0' && c <= '9'; });
}

}  // namespace

bool isTrashFolder(const std::string& parent, std::string_view name) {
  if (isVolumeTrashName(name)) return true;
  if (name != "Trash") return false;
  const std::string path = joinPath(parent, std::string(name));
  return isFolderNoFollow(joinPath(path, "files")) && isFolderNoFollow(joinPath(path, "info"));
}

}  // namespace tw
