#pragma once

#include "core/dev_group.h"
#include "screens/dev_tool_tables.h"
#include "screens/dev_tools_input.h"

namespace tw {

// The Simulators screen: Android virtual devices (with their snapshots) and the system
// images no device uses, and on macOS the iOS simulators and runtimes that Xcode manages.
// Removal goes through avdmanager, sdkmanager and `xcrun simctl` when they are there.
struct Simulators {
  [[nodiscard]] static ProviderResult scan(const DevToolsInput& input, const DevToolTables& tables);
  [[nodiscard]] static ProviderResult load(const Context& context);
};

}  // namespace tw
