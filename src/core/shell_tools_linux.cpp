#include "core/shell.h"
#include "core/shell_tools.h"

namespace tw {

// Linux has no developer-tools selector and no installer stubs in /usr/bin.
bool Shell::hasDeveloperTools(const Context&) { return false; }

bool toolRunsWithoutInstallerPrompt(const std::string&, const Context&) { return true; }

// Administrator tools, snaps, Homebrew on Linux (shared and per user), Nix profiles and Go.
std::vector<std::string> platformToolFolders(const std::string& home) {
  return {"/usr/sbin",
          "/snap/bin",
          "/home/linuxbrew/.linuxbrew/bin",
          home + "/.linuxbrew/bin",
          home + "/.nix-profile/bin",
          "/nix/var/nix/profiles/default/bin",
          home + "/go/bin"};
}

}  // namespace tw
