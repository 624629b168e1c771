#include "core/shell.h"
#include "core/shell_tools.h"

namespace tw {

bool Shell::hasDeveloperTools() {
  static const bool installed = run("/usr/bin/xcode-select", {"-p"}, 10).code == 0;
  return installed;
}

bool toolRunsWithoutInstallerPrompt(const std::string& path) {
  // Without the developer tools these two only offer to install them.
  if (path == "/usr/bin/git" || path == "/usr/bin/xcrun") return Shell::hasDeveloperTools();
  return true;
}

}  // namespace tw
