#include "screens/paths_in_use.h"

#include <algorithm>

namespace tw {

PathsInUse PathsInUse::snapshot() { return PathsInUse(runningProcessPaths()); }

std::future<PathsInUse> PathsInUse::lookInBackground() { return std::async(std::launch::async, snapshot); }

PathsInUse::PathsInUse(std::vector<std::string> paths) : sorted_(std::move(paths)) {
  std::sort(sorted_.begin(), sorted_.end());
  sorted_.erase(std::unique(sorted_.begin(), sorted_.end()), sorted_.end());
}

bool PathsInUse::inside(const std::string& folder) const { return insideResolved(resolved(folder)); }

bool PathsInUse::insideListedFolder(const std::string& folder) const {
  return insideResolved(folders_.resolveListedFolder(folder));
}

std::string PathsInUse::resolved(const std::string& path) const { return folders_.resolve(path); }

bool PathsInUse::insideResolved(const std::string& resolved) const {
  const auto match = std::lower_bound(sorted_.begin(), sorted_.end(), resolved);
  if (match == sorted_.end()) return false;
  if (*match == resolved) return true;
  // Everything inside the folder sorts right after "folder/", before any sibling.
  const std::string prefix = resolved == "/" ? resolved : resolved + "/";
  const auto inner = std::lower_bound(match, sorted_.end(), prefix);
  return inner != sorted_.end() && inner->starts_with(prefix);
}

}  // namespace tw
