#include <cstdio>

#include "fs/file_io.h"
#include "fs/path.h"
#include "fs/trash_mover.h"

namespace tw {
namespace {

// A free name in ~/.Trash: "name", then "name 2", "name 3"... as the Finder does.
std::string freeTrashPath(const std::string& home, const std::string& name) {
  const std::string trash = home + "/.Trash";
  std::string candidate = trash + "/" + name;
  for (int n = 2; pathExists(candidate) && n < 10'000; ++n) candidate = trash + "/" + name + " " + std::to_string(n);
  return candidate;
}

}  // namespace

std::error_code moveToTrash(const std::string& path, const TrashHome& trashHome) {
  if (!pathExists(path)) return std::make_error_code(std::errc::no_such_file_or_directory);
  // Other volumes and protected items fail here; the caller may ask the Finder instead.
  if (std::rename(path.c_str(), freeTrashPath(trashHome.home, lastPathComponent(path)).c_str()) != 0) {
    return {errno, std::generic_category()};
  }
  return pathExists(path) ? std::make_error_code(std::errc::file_exists) : std::error_code{};
}

}  // namespace tw
