#pragma once

#include <string>

#include "cli/cli.h"

// The bodies of the command-line commands, one file each.
namespace tw::CLI {

[[nodiscard]] int statusCommand(const Args& args, const Context& context);
[[nodiscard]] int scanCommand(const Args& args, const Context& context);
[[nodiscard]] int junkCommand(const Args& args, const Context& context);
[[nodiscard]] int cleanCommand(const Args& args, const Context& context);
[[nodiscard]] int trashCommand(const Args& args, const Context& context);
[[nodiscard]] int historyCommand(const Args& args, const Context& context);
[[nodiscard]] int screenCommand(const std::string& screen, const Provider& provider, const Args& args,
                                const Context& context);

}  // namespace tw::CLI
