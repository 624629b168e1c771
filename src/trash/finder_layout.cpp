#include "trash/finder_layout.h"

#include <sys/stat.h>

#include "fs/path.h"
#include "fs/regular_file.h"
#include "fs/usage.h"

namespace tw {
namespace {

// Metadata files of folders with many thousands of items stay well below this.
constexpr std::size_t maxDsStoreBytes = 64 * 1024 * 1024;

bool isFolder(const std::string& path) {
  struct stat info {};
  return ::stat(path.c_str(), &info) == 0 && S_ISDIR(info.st_mode);
}

}  // namespace

std::vector<TrashDir> FinderLayout::trashDirs(const std::string& home, const std::string& volumesFolder, unsigned uid) {
  std::vector<TrashDir> dirs{{joinPath(home, ".Trash"), "/"}};
  const auto volumes = listFolder(volumesFolder);
  if (!volumes) return dirs;
  for (const auto& volume : *volumes) {
    const std::string root = joinPath(volumesFolder, volume.name);
    const std::string dir = joinPath(joinPath(root, ".Trashes"), std::to_string(uid));
    if (isFolder(dir)) dirs.push_back({dir, root});
  }
  return dirs;
}

std::map<std::string, PutBack> FinderLayout::putBackInfo(const std::string& dir, const std::set<std::string>& names) {
  const auto data = readRegularFile(joinPath(dir, ".DS_Store"), maxDsStoreBytes);
  if (!data) return {};
  return parsePutBackRecords(*data, names);
}

std::optional<std::string> FinderLayout::origin(const PutBack& putBack, const std::string& itemName,
                                                const std::string& volumeRoot) {
  if (!putBack.location) return std::nullopt;
  std::string location = *putBack.location;
  location.erase(0, location.find_first_not_of('/'));
  if (location.size() > 0 && location.back() != '/') location += '/';
  const std::string prefix = volumeRoot == "/" ? "/" : volumeRoot + "/";
  return prefix + location + putBack.name.value_or(itemName);
}

}  // namespace tw
