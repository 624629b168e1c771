#pragma once

#include <set>
#include <string>

namespace tw {

// Lower-case extensions of folders that are packages (an app, a library, a project
// bundle): one thing to the user, never walked into by a search.
[[nodiscard]] const std::set<std::string>& packageFolderExtensions();

// Whether a folder of this name is such a package.
[[nodiscard]] bool isPackageFolder(const std::string& name);

}  // namespace tw
