#include "screens/dev_tool_commands.h"

namespace tw::DevToolCommands {

ToolCommand nvmUninstall() {
  return {"bash",
          {},
          {"{root}/nvm.sh"},
          {"-c", R"(export NVM_DIR="$1"; . "$1/nvm.sh" --no-use && nvm uninstall "$2")", "nvm", "{root}", "{name}"}};
}

ToolCommand sdkUninstall() {
  return {"bash",
          {},
          {"{root}/bin/sdkman-init.sh"},
          {"-c", R"(export SDKMAN_DIR="$1"; . "$1/bin/sdkman-init.sh" && sdk uninstall "$2" "$3")", "sdk", "{root}",
           "{candidate}", "{name}"}};
}

ToolCommand fnmUninstall() { return {"fnm", {"{root}"}, {}, {"--fnm-dir", "{root}", "uninstall", "{name}"}}; }

ToolCommand pyenvUninstall() { return {"pyenv", {"{root}/bin"}, {}, {"uninstall", "-f", "{name}"}}; }

// `rbenv uninstall` comes with the ruby-build plugin.
ToolCommand rbenvUninstall() {
  return {"rbenv", {"{root}/bin"}, {"{root}/plugins/ruby-build/bin/rbenv-uninstall"}, {"uninstall", "-f", "{name}"}};
}

ToolCommand rustupUninstall() {
  return {"rustup", {"$CARGO_HOME/bin", "~/.cargo/bin"}, {}, {"toolchain", "uninstall", "{name}"}};
}

ToolCommand sdkmanagerUninstall(const char* package) {
  return {"sdkmanager",
          {"{root}/cmdline-tools/latest/bin", "{root}/tools/bin"},
          {},
          {"--sdk_root={root}", "--uninstall", package}};
}

ToolCommand trashInstead() { return {}; }

}  // namespace tw::DevToolCommands
