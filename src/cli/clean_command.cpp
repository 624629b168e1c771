#include "cli/commands.h"

namespace tw::CLI {

int cleanCommand(const Args&) { return unavailableCommand("clean"); }

}  // namespace tw::CLI
