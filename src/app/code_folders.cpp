#include "app/code_folders.h"

#include <algorithm>
#include <map>

#include "fs/path.h"
#include "screens/projects.h"

namespace tw::app {

std::vector<CodeFolder> codeFoldersUnder(const std::string& home, std::stop_token stop) {
  const std::string prefix = home == "/" ? home : home + "/";
  std::map<std::string, int> counts;
  for (const auto& project : Projects::discover({home}, stop, home)) {
    if (!project.starts_with(prefix)) continue;
    const std::string below = project.substr(prefix.size());
    const auto slash = below.find('/');
    // A project right in the home folder is a project, not a folder of them.
    if (slash == std::string::npos) continue;
    ++counts[joinPath(home, below.substr(0, slash))];
  }
  std::vector<CodeFolder> folders;
  for (const auto& [path, projects] : counts) folders.push_back({path, projects});
  std::stable_sort(folders.begin(), folders.end(),
                   [](const CodeFolder& a, const CodeFolder& b) { return a.projects > b.projects; });
  return folders;
}

}  // namespace tw::app
