#pragma once

#include <string>

#include "cli/cli.h"

// The bodies of the command-line commands, one file each.
namespace tw::CLI {

[[nodiscard]] int statusCommand(const Args& args);
[[nodiscard]] int scanCommand(const Args& args);
[[nodiscard]] int junkCommand(const Args& args);
[[nodiscard]] int cleanCommand(const Args& args);
[[nodiscard]] int trashCommand(const Args& args);
[[nodiscard]] int historyCommand(const Args& args);
[[nodiscard]] int screenCommand(const std::string& screen, const Provider& provider, const Args& args);

}  // namespace tw::CLI
