#include "trash/trash_paths.h"

#include <unistd.h>

#include <algorithm>

#include "fs/anchored_remove.h"
#include "fs/path.h"
#include "trash/trash_layout.h"

namespace tw {

std::optional<TrashDir> containingTrashDir(const std::string& path, const std::vector<TrashDir>& dirs) {
  const auto slash = path.rfind('/');
  if (slash == std::string::npos) return std::nullopt;
  const std::string name = path.substr(slash + 1);
  if (name.empty() || name == "." || name == "..") return std::nullopt;
  const std::string parent = slash == 0 ? "/" : path.substr(0, slash);
  const auto found = std::find_if(dirs.begin(), dirs.end(), [&](const TrashDir& dir) { return dir.dir == parent; });
  if (found == dirs.end()) return std::nullopt;
  return *found;
}

std::string trustedTopOf(const TrashDir& dir, const Context& context) {
  const bool homeTrash =
      dir.dir == TrashLayout::homeDir(context).dir && context.home != "/" && dir.dir.starts_with(context.home + "/");
  // A volume's Trash lies on that volume: its own folder, which holds "files" and "info".
  return homeTrash ? context.home : parentPath(dir.dir);
}

void forgetTrashRecords(const std::string& top, const TrashDir& dir, const std::string& name) {
  for (const auto& companion : TrashLayout::companions(dir, name)) (void)removeFileBeneath(top, companion);
}

}  // namespace tw
