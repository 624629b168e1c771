#include "fs/trash_folder.h"

#include <algorithm>

#include "fs/file_io.h"
#include "fs/path.h"

namespace tw {
namespace {

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
  return isFolder(joinPath(path, "files")) && isFolder(joinPath(path, "info"));
}

}  // namespace tw
