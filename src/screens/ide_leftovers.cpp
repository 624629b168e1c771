#include "screens/ide_leftovers.h"

#include "screens/ide_parts.h"
#include "screens/projects.h"

namespace tw {

ProviderResult IDELeftovers::scan(const DevToolsInput& input, const DevToolTables& tables) {
  auto looking = PathsInUse::lookInBackground();
  std::vector<PendingGroup> groups = jetBrainsLeftovers(tables.ide, input);
  if (!input.stopRequested()) {
    auto editors = editorLeftovers(tables.ide, input);
    std::move(editors.begin(), editors.end(), std::back_inserter(groups));
  }
  const PathsInUse running = looking.get();
  markInUse(groups, running);
  if (!input.stopRequested()) {
    const auto pins = ProjectPins::read(Projects::discover(input.projectRoots, input.context.stop, input.context.home));
    auto gradle = gradleLeftovers(tables, input, pins, running);
    std::move(gradle.begin(), gradle.end(), std::back_inserter(groups));
  }
  auto measured = measureGroups(std::move(groups), input.context.stop);
  if (measured.empty()) {
    return {{},
            "No IDE leftovers found. Tidewarden looks for old JetBrains and Android Studio versions, VS Code, "
            "Cursor and Windsurf extensions and data, and Gradle distributions."};
  }
  return {std::move(measured), std::nullopt};
}

ProviderResult IDELeftovers::load(const Context& context) {
  return scan(DevToolsInput::from(context), platformDevToolTables());
}

}  // namespace tw
