#pragma once

// The parts of the IDE Leftovers screen, each finding its own groups. Internal.

#include <vector>

#include "screens/dev_tool_tables.h"
#include "screens/dev_tools_input.h"
#include "screens/paths_in_use.h"
#include "screens/pending_groups.h"
#include "screens/project_pins.h"

namespace tw {

// One group per JetBrains product (and Android Studio) with versions older than its newest.
[[nodiscard]] std::vector<PendingGroup> jetBrainsLeftovers(const IDETable& table, const DevToolsInput& input);

// One group per editor of the VS Code family.
[[nodiscard]] std::vector<PendingGroup> editorLeftovers(const IDETable& table, const DevToolsInput& input);

// Gradle's wrapper distributions and per-version caches that no project needs; what a
// running program uses is marked, and its version's cache kept.
[[nodiscard]] std::vector<PendingGroup> gradleLeftovers(const DevToolTables& tables, const DevToolsInput& input,
                                                        const ProjectPins& pins, const PathsInUse& running);

}  // namespace tw
