#pragma once

#include <string>

namespace tw {

// The file-system root and the system's own folders, which nothing may remove and which
// can never serve as a home folder or a project root for removals, whatever the settings
// say. `path` is standardized and absolute.
[[nodiscard]] bool isSystemFolder(const std::string& path);

}  // namespace tw
