#pragma once

#include <optional>
#include <string>

#include "core/context.h"

namespace tw {

// A place from a location table: "~/..." is under the home folder, "$NAME/..." under the
// folder an environment variable names, anything else is taken as it is. Nothing when the
// variable is unset or does not hold an absolute path.
[[nodiscard]] std::optional<std::string> resolveLocation(const std::string& pattern, const std::string& home,
                                                         const Environment& env);

// An environment variable holding a folder: its value with a leading "~/" expanded, or
// nothing when it is unset, empty or relative.
[[nodiscard]] std::optional<std::string> folderFromEnvironment(const Environment& env, const std::string& name,
                                                               const std::string& home);

}  // namespace tw
