#include "cli/commands.h"

namespace tw::CLI {

int scanCommand(const Args&) { return unavailableCommand("scan"); }

}  // namespace tw::CLI
