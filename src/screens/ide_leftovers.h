#pragma once

#include "core/dev_group.h"
#include "screens/dev_tool_tables.h"
#include "screens/dev_tools_input.h"

namespace tw {

// The IDE Leftovers screen: settings, caches and plugins of JetBrains IDE and Android
// Studio versions older than the newest one, outdated VS Code-family extensions, editor
// data of deleted projects, editor caches and logs, and Gradle distributions and caches
// that no project uses any more.
struct IDELeftovers {
  [[nodiscard]] static ProviderResult scan(const DevToolsInput& input, const DevToolTables& tables);
  [[nodiscard]] static ProviderResult load(const Context& context);
};

}  // namespace tw
