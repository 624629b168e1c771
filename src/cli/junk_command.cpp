#include "cli/commands.h"

namespace tw::CLI {

int junkCommand(const Args&) { return unavailableCommand("junk"); }

}  // namespace tw::CLI
