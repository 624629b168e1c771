#include "screens/dev_tool_tables.h"
#include "screens/shared_dev_tool_rows.h"

namespace tw {

using Holds = IDEVendorPlace::Holds;
namespace Rows = SharedDevToolRows;

// Linux keeps most of this under the XDG folders; the Android SDK's default home is
// ~/Android/Sdk, and there are no Xcode archives, Homebrew cleanups or iOS simulators.
const DevToolTables& linuxDevToolTables() {
  static const DevToolTables tables{
      "linux",
      {"$ANDROID_HOME", "$ANDROID_SDK_ROOT", "~/Android/Sdk"},
      {Rows::nvm(), Rows::fnm({"$FNM_DIR", "$XDG_DATA_HOME/fnm", "~/.fnm"}), Rows::volta(), Rows::pyenv(),
       Rows::rbenv(), Rows::rustup(), Rows::sdkman(), Rows::goToolchains(), Rows::goSdks(), Rows::fvm(),
       Rows::androidNdk({"$ANDROID_HOME", "$ANDROID_SDK_ROOT", "~/Android/Sdk"},
                        "toolchains/llvm/prebuilt/linux-x86_64/bin/clang")},
      {
          {{"$XDG_CONFIG_HOME/JetBrains", Holds::config},
           {"$XDG_CACHE_HOME/JetBrains", Holds::caches},
           {"$XDG_DATA_HOME/JetBrains", Holds::data},
           {"$XDG_CONFIG_HOME/Google", Holds::config},
           {"$XDG_CACHE_HOME/Google", Holds::caches},
           {"$XDG_DATA_HOME/Google", Holds::data}},
          {{"vscode", "VS Code", "~/.vscode/extensions", {"$XDG_CONFIG_HOME/Code"}},
           {"vscode-insiders",
            "VS Code Insiders",
            "~/.vscode-insiders/extensions",
            {"$XDG_CONFIG_HOME/Code - Insiders"}},
           {"vscodium",
            "VSCodium",
            "~/.vscode-oss/extensions",
            {"$XDG_CONFIG_HOME/VSCodium", "$XDG_CONFIG_HOME/Code - OSS"}},
           {"cursor", "Cursor", "~/.cursor/extensions", {"$XDG_CONFIG_HOME/Cursor"}},
           {"windsurf", "Windsurf", "~/.windsurf/extensions", {"$XDG_CONFIG_HOME/Windsurf"}}},
          Rows::editorCaches(),
          Rows::gradleHome(),
      },
      {
          Rows::avdHome(),
          Rows::androidTools(),
          false,
          "Android virtual devices (~/.android/avd) and system images in the Android SDK (~/Android/Sdk or "
          "$ANDROID_HOME)",
      },
      {
          {"pnpm",
           "pnpm store",
           {"$npm_config_store_dir", "$XDG_DATA_HOME/pnpm/store"},
           {"pnpm", {"$PNPM_HOME", "$XDG_DATA_HOME/pnpm"}, {}, {"store", "prune"}}},
          Rows::bun(),
          Rows::uv(),
          Rows::npm(),
          {"yarn",
           "Yarn cache",
           {"$YARN_CACHE_FOLDER", "$XDG_CACHE_HOME/yarn", "~/.yarn/berry/cache"},
           {"yarn", {}, {}, {"cache", "clean"}}},
      },
  };
  return tables;
}

}  // namespace tw
