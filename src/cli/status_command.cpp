#include "cli/commands.h"

namespace tw::CLI {

int statusCommand(const Args&) { return unavailableCommand("status"); }

}  // namespace tw::CLI
