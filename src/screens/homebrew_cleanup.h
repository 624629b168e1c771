#pragma once

#include "core/dev_group.h"
#include "screens/dev_tool_tables.h"
#include "screens/dev_tools_input.h"

namespace tw {

// What `brew cleanup -n` says it would remove: old versions of each formula and cask
// (removed with `brew cleanup <name>`, which never touches a pinned or linked version)
// and old downloads. Nothing when Homebrew is not installed or has nothing to clean.
[[nodiscard]] DevGroupPtr homebrewCleanupGroup(const ToolchainManager& manager, const DevToolsInput& input);

}  // namespace tw
