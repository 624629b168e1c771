#include "screens/uninstaller.h"

namespace tw {

// Flatpak, snaps, AppImages and the Debian packages that put an app in the menu.
const UninstallerTable& linuxUninstallerTable() {
  static const UninstallerTable table{
      "linux",
      UninstallerTable::Flatpak{"$XDG_DATA_HOME/flatpak", "/var/lib/flatpak", "~/.var/app"},
      UninstallerTable::Snap{"/run/snapd.socket", "/snap", "/var/lib/snapd/snaps", "~/snap"},
      UninstallerTable::Debian{{"/usr/share/applications"}, "$XDG_CONFIG_HOME"},
      UninstallerTable::AppImages{{"~/Applications", "~/.local/bin", "$XDG_DOWNLOAD_DIR"},
                                  "$XDG_DATA_HOME/applications"},
      std::nullopt,
  };
  return table;
}

}  // namespace tw
