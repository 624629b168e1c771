#include "screens/simulators.h"

#include "screens/simulator_parts.h"

namespace tw {

ProviderResult Simulators::scan(const DevToolsInput& input, const DevToolTables& tables) {
  const PathsInUse running = PathsInUse::snapshot();
  std::vector<PendingGroup> groups = androidEmulators(tables, input, running);
  std::optional<std::string> note;
  if (tables.simulators.iosSimulators && !input.stop.stop_requested()) {
    auto ios = iosSimulators(input);
    std::move(ios.groups.begin(), ios.groups.end(), std::back_inserter(groups));
    note = ios.note;
  }
  auto measured = measureGroups(std::move(groups));
  if (measured.empty()) {
    note = "No simulators or emulators found. Tidewarden looks for " + tables.simulators.lookedFor + "." +
           (note ? " " + *note : std::string());
  }
  return {std::move(measured), note};
}

ProviderResult Simulators::load() { return scan(DevToolsInput::current(), platformDevToolTables()); }

}  // namespace tw
