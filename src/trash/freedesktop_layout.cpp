#include "trash/freedesktop_layout.h"

#include <sys/stat.h>

#include <algorithm>
#include <array>

#include "fs/path.h"

namespace tw {
namespace {

bool isRealFolder(const std::string& path, bool requireSticky = false) {
  struct stat info {};
  if (::lstat(path.c_str(), &info) != 0 || !S_ISDIR(info.st_mode)) return false;
  return !requireSticky || (info.st_mode & S_ISVTX) != 0;
}

}  // namespace

bool FreedesktopLayout::isPseudoFileSystem(std::string_view type) {
  static constexpr std::array<std::string_view, 22> pseudo{
      "proc",    "sysfs",    "devtmpfs",   "devpts", "cgroup",    "cgroup2", "securityfs", "debugfs",
      "tracefs", "configfs", "fusectl",    "mqueue", "hugetlbfs", "pstore",  "bpf",        "binfmt_misc",
      "autofs",  "efivarfs", "rpc_pipefs", "nsfs",   "selinuxfs", "nfsd"};
  return std::find(pseudo.begin(), pseudo.end(), type) != pseudo.end();
}

std::vector<TrashDir> FreedesktopLayout::trashDirs(const std::string& dataHome,
                                                   const std::vector<MountedVolume>& mounts, unsigned uid) {
  std::vector<TrashDir> dirs{{joinPath(dataHome, "Trash/files"), "/"}};
  const auto add = [&](std::string dir, const std::string& top) {
    const bool known = std::any_of(dirs.begin(), dirs.end(), [&](const TrashDir& d) { return d.dir == dir; });
    if (!known) dirs.push_back({std::move(dir), top});
  };
  const std::string user = std::to_string(uid);
  for (const auto& mount : mounts) {
    const std::string& top = mount.mountPoint;
    if (isPseudoFileSystem(mount.type) || top.empty() || top.front() != '/') continue;
    const std::string shared = joinPath(top, ".Trash");
    const std::string sharedUser = joinPath(shared, user);
    if (isRealFolder(shared, true) && isRealFolder(sharedUser) && isRealFolder(joinPath(sharedUser, "files"))) {
      add(joinPath(sharedUser, "files"), top);
    }
    const std::string own = joinPath(top, ".Trash-" + user);
    if (isRealFolder(own) && isRealFolder(joinPath(own, "files"))) add(joinPath(own, "files"), top);
  }
  return dirs;
}

std::string FreedesktopLayout::topDir(const TrashDir& dir, const std::string& dataHome) {
  return dir.dir == joinPath(dataHome, "Trash/files") ? dataHome : dir.volumeRoot;
}

std::string FreedesktopLayout::infoPath(const TrashDir& dir, const std::string& name) {
  return joinPath(joinPath(parentPath(dir.dir), "info"), name + ".trashinfo");
}

}  // namespace tw
