#include "cli/commands.h"

namespace tw::CLI {

int cleanCommand(const Args& args) {
  if (!args.has("safe")) throw UsageError("clean needs --safe (deletes the ✓ categories from `tidewarden junk`)");
  return unavailableCommand("clean");
}

}  // namespace tw::CLI
