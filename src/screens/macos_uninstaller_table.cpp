#include "screens/uninstaller.h"

namespace tw {

// App bundles and the Library folders named by their bundle identifier.
const UninstallerTable& macOSUninstallerTable() {
  static const UninstallerTable table{
      "macos",
      std::nullopt,
      std::nullopt,
      std::nullopt,
      std::nullopt,
      UninstallerTable::Bundles{
          {"/Applications", "~/Applications"},
          {"~/Library/Application Support/{id}", "~/Library/Caches/{id}", "~/Library/Containers/{id}",
           "~/Library/Application Scripts/{id}", "~/Library/Preferences/{id}.plist",
           "~/Library/Saved Application State/{id}.savedState", "~/Library/HTTPStorages/{id}", "~/Library/WebKit/{id}",
           "~/Library/Logs/{id}", "~/Library/Cookies/{id}.binarycookies"},
          {{"~/Library/Containers", ""},
           {"~/Library/Application Scripts", ""},
           {"~/Library/Saved Application State", ".savedState"}},
      },
  };
  return table;
}

}  // namespace tw
