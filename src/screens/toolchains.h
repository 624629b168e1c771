#pragma once

#include "core/dev_group.h"
#include "screens/dev_tool_tables.h"
#include "screens/dev_tools_input.h"

namespace tw {

// The Toolchains screen: the versions that version managers (nvm, pyenv, rustup, SDKMAN!
// and the others of the table) keep installed, one group per manager. Nothing that is a
// default, chosen by the shell, running, or pinned by a project is pre-selected; the rest
// is when it has not run for 90 days.
struct Toolchains {
  [[nodiscard]] static ProviderResult scan(const DevToolsInput& input, const DevToolTables& tables);
  [[nodiscard]] static ProviderResult load(const Context& context);
};

}  // namespace tw
