#include "screens/system_data.h"

namespace tw {

// systemd's journal, apt's downloads, snapd's and flatpak's leftovers, and crash dumps.
const SystemDataTable& linuxSystemDataTable() {
  static const SystemDataTable table{
      "linux",
      SystemDataTable::Journal{
          {"/var/log/journal", "/run/log/journal"}, "/run/systemd/journal/stdout", "100M", 100 * 1024 * 1024},
      SystemDataTable::PackageCache{"/var/cache/apt/archives"},
      SystemDataTable::Snaps{"/run/snapd.socket", "/var/lib/snapd/snaps", "/var/lib/snapd/snapshots"},
      SystemDataTable::FlatpakRuntimes{"$XDG_DATA_HOME/flatpak", "/var/lib/flatpak"},
      std::nullopt,
      {
          {"crashes",
           "Crash Dumps",
           "Left by programs that crashed; the ones older than 3 days are ticked",
           "exclamationmark.triangle",
           {"/var/lib/systemd/coredump", "/var/crash"},
           "",
           "",
           false,
           true,
           3,
           true},
      },
  };
  return table;
}

}  // namespace tw
