#include "core/shell.h"
#include "core/shell_tools.h"

namespace tw {

bool Shell::hasDeveloperTools(const Context& context) {
  // The answer belongs to the machine, not to any environment, so one look serves all.
  static const bool installed = run("/usr/bin/xcode-select", {"-p"}, 10, context).code == 0;
  return installed;
}

std::vector<std::string> platformToolFolders(const std::string&) { return {}; }

bool toolRunsWithoutInstallerPrompt(const std::string& path, const Context& context) {
  // Without the developer tools these two only offer to install them.
  if (path == "/usr/bin/git" || path == "/usr/bin/xcrun") return Shell::hasDeveloperTools(context);
  return true;
}

}  // namespace tw
