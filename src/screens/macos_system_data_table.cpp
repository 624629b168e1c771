#include "screens/system_data.h"

namespace tw {

// What makes "System Data" large on a Mac: local Time Machine snapshots, device backups,
// old macOS installers and device firmware.
const SystemDataTable& macOSSystemDataTable() {
  static const SystemDataTable table{
      "macos",
      std::nullopt,
      std::nullopt,
      std::nullopt,
      std::nullopt,
      SystemDataTable::LocalSnapshots{"/"},
      {
          {"backups",
           "iPhone & iPad Backups",
           "Made by Finder when a device was synced",
           "iphone",
           {"~/Library/Application Support/MobileSync/Backup"},
           "",
           "",
           true,
           false,
           std::nullopt,
           false},
          {"installers",
           "macOS Installers",
           "Downloaded macOS installers, kept after upgrading",
           "arrow.down.app",
           {"/Applications"},
           "Install macOS",
           ".app",
           true,
           false,
           std::nullopt,
           false},
          {"firmware",
           "Device Firmware",
           "iPhone and iPad software updates",
           "cpu",
           {"~/Library/iTunes/iPhone Software Updates", "~/Library/iTunes/iPad Software Updates"},
           "",
           ".ipsw",
           false,
           true,
           std::nullopt,
           false},
      },
  };
  return table;
}

}  // namespace tw
