#include "screens/simulators.h"

#include "screens/simulator_parts.h"

namespace tw {

ProviderResult Simulators::scan(const DevToolsInput& input, const DevToolTables& tables) {
  auto running = PathsInUse::lookInBackground();
  std::vector<PendingGroup> groups = androidEmulators(tables, input);
  std::optional<std::string> note;
  if (tables.simulators.iosSimulators && !input.stopRequested()) {
    auto ios = iosSimulators(input);
    std::move(ios.groups.begin(), ios.groups.end(), std::back_inserter(groups));
    note = ios.note;
  }
  markInUse(groups, running.get());
  auto measured = measureGroups(std::move(groups), input.context.stop);
  if (measured.empty()) {
    note = "No simulators or emulators found. Tidewarden looks for " + tables.simulators.lookedFor + "." +
           (note ? " " + *note : std::string());
  }
  return {std::move(measured), note};
}

ProviderResult Simulators::load(const Context& context) {
  return scan(DevToolsInput::from(context), platformDevToolTables());
}

}  // namespace tw
