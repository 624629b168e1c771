#include "cli/commands.h"

namespace tw::CLI {

int historyCommand(const Args&) { return unavailableCommand("history"); }

}  // namespace tw::CLI
