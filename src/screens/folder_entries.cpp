#include "screens/folder_entries.h"

#include <sys/stat.h>

#include <algorithm>

#include "fs/path.h"
#include "fs/stat_times.h"
#include "fs/usage.h"

namespace tw {

std::vector<PathEntry> entriesByName(const std::string& folder) {
  std::vector<PathEntry> found;
  if (folder.empty()) return found;
  if (const auto entries = listFolderNames(folder)) {
    for (const auto& entry : *entries) found.push_back({entry.name, joinPath(folder, entry.name), entry.isDir});
  }
  std::sort(found.begin(), found.end(), [](const PathEntry& a, const PathEntry& b) { return a.name < b.name; });
  return found;
}

std::optional<Date> modificationDate(const std::string& path) {
  struct stat info {};
  if (::lstat(path.c_str(), &info) != 0) return std::nullopt;
  return Date{std::chrono::duration_cast<Date::duration>(std::chrono::nanoseconds{modifiedNanoseconds(info)})};
}

}  // namespace tw
