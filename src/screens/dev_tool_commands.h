#pragma once

// The removal and prune commands that both platforms' tables share: the tools behave the
// same everywhere, only their folders differ.

#include "screens/dev_tool_tables.h"

namespace tw::DevToolCommands {

// nvm and SDKMAN are shell functions: a shell sources them from the folder we found, and
// the folder and version travel as arguments, never inside the script text.
[[nodiscard]] ToolCommand nvmUninstall();
[[nodiscard]] ToolCommand sdkUninstall();
[[nodiscard]] ToolCommand fnmUninstall();
[[nodiscard]] ToolCommand pyenvUninstall();
[[nodiscard]] ToolCommand rbenvUninstall();
[[nodiscard]] ToolCommand rustupUninstall();
[[nodiscard]] ToolCommand sdkmanagerUninstall(const char* package);
[[nodiscard]] ToolCommand trashInstead();

}  // namespace tw::DevToolCommands
