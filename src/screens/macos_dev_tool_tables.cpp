#include "screens/dev_tool_tables.h"
#include "screens/shared_dev_tool_rows.h"

namespace tw {

using Kind = ToolchainManager::Kind;
using Holds = IDEVendorPlace::Holds;
namespace Rows = SharedDevToolRows;

// macOS keeps application data under ~/Library; the command-line managers use the same
// dot folders as on Linux. Xcode archives, Homebrew's cleanup and iOS simulators exist
// only here.
const DevToolTables& macOSDevToolTables() {
  static const DevToolTables tables{
      "macos",
      {"$ANDROID_HOME", "$ANDROID_SDK_ROOT", "~/Library/Android/sdk"},
      {Rows::nvm(),
       Rows::fnm({"$FNM_DIR", "~/Library/Application Support/fnm", "~/.fnm"}),
       Rows::volta(),
       Rows::pyenv(),
       Rows::rbenv(),
       Rows::rustup(),
       Rows::sdkman(),
       Rows::goToolchains(),
       Rows::goSdks(),
       Rows::fvm(),
       Rows::androidNdk({"$ANDROID_HOME", "$ANDROID_SDK_ROOT", "~/Library/Android/sdk"},
                        "toolchains/llvm/prebuilt/darwin-x86_64/bin/clang"),
       {Kind::xcodeArchives,
        "xcode-archives",
        "Xcode Archives",
        "",
        {"~/Library/Developer/Xcode/Archives"},
        "",
        {},
        {},
        {},
        ""},
       {Kind::homebrew,
        "homebrew",
        "Homebrew",
        "",
        {},
        "",
        {},
        {},
        {"brew", {"/opt/homebrew/bin", "/usr/local/bin"}, {}, {"cleanup", "{name}"}},
        ""}},
      {
          {{"~/Library/Application Support/JetBrains", Holds::config},
           {"~/Library/Caches/JetBrains", Holds::caches},
           {"~/Library/Logs/JetBrains", Holds::logs},
           {"~/Library/Application Support/Google", Holds::config},
           {"~/Library/Caches/Google", Holds::caches},
           {"~/Library/Logs/Google", Holds::logs}},
          {{"vscode", "VS Code", "~/.vscode/extensions", {"~/Library/Application Support/Code"}},
           {"vscode-insiders",
            "VS Code Insiders",
            "~/.vscode-insiders/extensions",
            {"~/Library/Application Support/Code - Insiders"}},
           {"vscodium",
            "VSCodium",
            "~/.vscode-oss/extensions",
            {"~/Library/Application Support/VSCodium", "~/Library/Application Support/Code - OSS"}},
           {"cursor", "Cursor", "~/.cursor/extensions", {"~/Library/Application Support/Cursor"}},
           {"windsurf", "Windsurf", "~/.windsurf/extensions", {"~/Library/Application Support/Windsurf"}}},
          Rows::editorCaches(),
          Rows::gradleHome(),
      },
      {
          Rows::avdHome(),
          Rows::androidTools(),
          true,
          "iOS simulators and runtimes (through Xcode), Android virtual devices (~/.android/avd) and system images "
          "in the Android SDK (~/Library/Android/sdk or $ANDROID_HOME)",
      },
      {
          {"pnpm",
           "pnpm store",
           {"$npm_config_store_dir", "~/Library/pnpm/store"},
           {"pnpm", {"$PNPM_HOME", "~/Library/pnpm"}, {}, {"store", "prune"}}},
          Rows::bun(),
          Rows::uv(),
          Rows::npm(),
          {"yarn",
           "Yarn cache",
           {"$YARN_CACHE_FOLDER", "~/Library/Caches/Yarn", "~/.yarn/berry/cache"},
           {"yarn", {}, {}, {"cache", "clean"}}},
      },
  };
  return tables;
}

}  // namespace tw
