#pragma once

// The parts of the Simulators screen. Internal.

#include <optional>
#include <string>
#include <vector>

#include "screens/dev_tool_tables.h"
#include "screens/dev_tools_input.h"
#include "screens/pending_groups.h"

namespace tw {

// Android virtual devices and system images; no groups when there are none.
[[nodiscard]] std::vector<PendingGroup> androidEmulators(const DevToolTables& tables, const DevToolsInput& input);

struct IOSSimulatorFindings {
  std::vector<PendingGroup> groups;
  std::optional<std::string> note;  // why iOS simulators could not be listed
};

// iOS simulators and runtimes as `xcrun simctl` lists them.
[[nodiscard]] IOSSimulatorFindings iosSimulators(const DevToolsInput& input);

}  // namespace tw
