#pragma once

#include <string>
#include <vector>

namespace tw {

// Where the developer-tool screens look is data: one set of tables per platform, read by
// one set of scanners. A place is written "~/x", "$VAR/x" or "{key}/x"; a list of places
// is tried in order (see DevToolsInput::locate): a tool's own variable overrides the
// usual folders, as it does for the tool itself.

// How to remove something through the tool that owns it. Without `tool`, or when the tool
// or one of `needs` is missing, the item goes to the Trash instead.
struct ToolCommand {
  std::string tool;                      // looked for in `toolFolders`, then in the tool search list
  std::vector<std::string> toolFolders;  // places; "{root}" is the manager's folder
  std::vector<std::string> needs;        // places that must exist for the command to work
  // The arguments; "{root}", "{version}", "{name}", "{candidate}" and "{tool}" are filled in.
  std::vector<std::string> arguments;
};

// One version manager of the Toolchains screen.
struct ToolchainManager {
  enum class Kind {
    nvm,            // versions/node/v18.19.0; default from alias/default, following alias chains
    fnm,            // node-versions/v18.19.0/installation; default from the aliases/default link
    volta,          // tools/image/node/18.19.0; default from tools/user/platform.json
    pyenv,          // versions/3.11.4; default from the "version" file
    rbenv,          // versions/3.2.2; default from the "version" file
    rustup,         // toolchains/stable-x86_64-unknown-linux-gnu; default and overrides from settings.toml
    sdkman,         // candidates/java/17.0.8-tem; default from each candidate's "current" link
    goToolchains,   // golang.org/toolchain@v0.0.1-go1.21.5.linux-amd64 in the module cache
    goSdks,         // go1.21.5 folders made by golang.org/dl
    fvm,            // versions/3.13.0; default from the "default" link
    androidNdk,     // ndk/25.2.9519653 in the Android SDK
    xcodeArchives,  // <date>/<name>.xcarchive
    homebrew,       // what `brew cleanup -n` would remove
  };

  Kind kind;
  std::string id;
  std::string title;
  std::string language;                       // the pins that apply ("node", "python", ...; SDKMAN uses its candidates)
  std::vector<std::string> roots;             // where the manager keeps its files
  std::string versions;                       // the folder of versions below the root
  std::vector<std::string> probes;            // files in a version whose access time tells when it last ran
  std::vector<std::string> versionVariables;  // variables that choose a version for this shell
  ToolCommand uninstall;
  std::string restore;  // how to install it again; "{version}", "{name}", "{candidate}" filled in
};

// One editor of the VS Code family.
struct EditorPlace {
  std::string id;
  std::string title;
  std::string extensions;             // the extensions folder
  std::vector<std::string> userData;  // its settings folders ("Code", "VSCodium")
};

// A vendor folder of JetBrains-style IDEs, one per kind of data.
struct IDEVendorPlace {
  enum class Holds { config, caches, data, logs };
  std::string place;
  Holds holds;
};

struct IDETable {
  std::vector<IDEVendorPlace> jetBrains;
  std::vector<EditorPlace> editors;
  std::vector<std::string> editorCaches;  // folders in an editor's settings folder that it rebuilds
  std::vector<std::string> gradleHome;
};

struct SimulatorTable {
  std::vector<std::string> avdHome;
  std::vector<std::string> androidTools;  // where avdmanager and sdkmanager live; "{root}" is the SDK
  bool iosSimulators = false;             // through `xcrun simctl`
  std::string lookedFor;                  // what the screen says it looked for when it finds nothing
};

// A package manager's shared store, offered by the package manager advisor.
struct PackageStore {
  std::string id;
  std::string title;
  std::vector<std::string> places;
  ToolCommand prune;
};

struct DevToolTables {
  std::string name;  // "macos" or "linux"
  std::vector<std::string> androidSdk;
  std::vector<ToolchainManager> toolchains;
  IDETable ide;
  SimulatorTable simulators;
  std::vector<PackageStore> packageStores;
};

[[nodiscard]] const DevToolTables& linuxDevToolTables();
[[nodiscard]] const DevToolTables& macOSDevToolTables();
// The tables of the platform this program was built for.
[[nodiscard]] const DevToolTables& platformDevToolTables();

}  // namespace tw
