#pragma once

#include <string>
#include <string_view>

namespace tw {

// A per-user base folder by the XDG rules: $variable when it holds an absolute path (a
// relative value is invalid and ignored), else the home folder + `fallbackUnderHome`,
// such as xdgFolder("XDG_DATA_HOME", "/.local/share").
[[nodiscard]] std::string xdgFolder(const char* variable, std::string_view fallbackUnderHome);

}  // namespace tw
