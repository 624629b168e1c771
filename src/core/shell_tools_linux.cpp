#include "core/shell.h"
#include "core/shell_tools.h"

namespace tw {

// Linux has no developer-tools selector and no installer stubs in /usr/bin.
bool Shell::hasDeveloperTools(const Context&) { return false; }

bool toolRunsWithoutInstallerPrompt(const std::string&, const Context&) { return true; }

}  // namespace tw
