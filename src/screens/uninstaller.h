#pragma once

#include <optional>
#include <string>
#include <vector>

#include "core/dev_group.h"

namespace tw {

// Where the Uninstaller finds apps and what they leave behind: one table per platform.
// Paths are table paths (see Places); a source a platform lacks is absent.
struct UninstallerTable {
  struct Flatpak {
    std::string userInstallation;    // holds app/<id>
    std::string systemInstallation;  // holds app/<id>
    std::string data;                // app data: <data>/<id>
  };
  struct Snap {
    std::string socket;  // snapd's socket
    std::string mounts;  // <mounts>/<name> while a snap is installed
    std::string files;   // <files>/<name>_<revision>.snap
    std::string data;    // <data>/<name>
  };
  struct Debian {
    std::vector<std::string> entryFolders;  // system .desktop entries (dpkg knows their owners)
    std::string settings;                   // <settings>/<package>
  };
  struct AppImages {
    std::vector<std::string> folders;
    std::string entryFolder;  // the user's .desktop entries that start them
  };
  struct Bundles {
    std::vector<std::string> folders;         // where .app bundles live
    std::vector<std::string> libraryFolders;  // per app; "{id}" stands for its bundle identifier
    // Folders named after a bundle identifier (with this suffix): left behind when no app
    // has that identifier any more.
    std::vector<std::pair<std::string, std::string>> leftoverFolders;
  };

  std::string name;  // "linux" or "macos"
  std::optional<Flatpak> flatpak;
  std::optional<Snap> snap;
  std::optional<Debian> debian;
  std::optional<AppImages> appImages;
  std::optional<Bundles> bundles;
};

[[nodiscard]] const UninstallerTable& linuxUninstallerTable();
[[nodiscard]] const UninstallerTable& macOSUninstallerTable();
[[nodiscard]] const UninstallerTable& platformUninstallerTable();

// The Uninstaller: installed apps grouped by where they came from, each with the data it
// keeps in the home folder, and what removed apps left behind. Apps are removed by the tool
// that installed them; data goes to the Trash.
struct Uninstaller {
  // `root` is the folder system paths hang from ("" for the real system). Tools run with
  // the context's search paths and environment; its stop token ends the scan early.
  [[nodiscard]] static ProviderResult scan(const UninstallerTable& table, const Context& context,
                                           const std::string& root);
  // The scan of this platform's table; the system root is $TIDEWARDEN_SYSTEM_ROOT.
  [[nodiscard]] static ProviderResult load(const Context& context);
};

}  // namespace tw
