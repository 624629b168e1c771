#include "cli/commands.h"

namespace tw::CLI {

int trashCommand(const Args& args) {
  const std::string subcommand = args.positional.empty() ? "list" : args.positional.front();
  if (subcommand != "list" && subcommand != "empty") {
    throw UsageError("unknown trash subcommand '" + subcommand + "' (expected 'list' or 'empty')");
  }
  if (subcommand == "list" && (args.has("yes") || args.has("dry-run"))) {
    throw UsageError("--yes and --dry-run only apply to `trash empty`");
  }
  return unavailableCommand("trash");
}

}  // namespace tw::CLI
