#include "trash/trash_paths.h"

#include <unistd.h>

#include <algorithm>

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

void forgetTrashRecords(const TrashDir& dir, const std::string& name) {
  for (const auto& companion : TrashLayout::companions(dir, name)) ::unlink(companion.c_str());
}

}  // namespace tw
