#include "cli/commands.h"

namespace tw::CLI {

int trashCommand(const Args&) { return unavailableCommand("trash"); }

}  // namespace tw::CLI
