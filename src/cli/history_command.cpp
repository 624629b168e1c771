#include "cli/commands.h"

namespace tw::CLI {

int historyCommand(const Args& args) {
  (void)args.number("limit", 20, 1);
  return unavailableCommand("history");
}

}  // namespace tw::CLI
