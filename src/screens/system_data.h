#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "core/date.h"
#include "core/dev_group.h"

namespace tw {

// Where the System Data screen looks: one table per platform. Paths are table paths (see
// Places); system paths hang from the root folder the scan is given, so tests can give a
// temporary one. A source a platform lacks is absent.
struct SystemDataTable {
  struct Journal {
    std::vector<std::string> folders;
    std::string socket;  // journald's stream socket: rotating needs the service running
    std::string keep;    // what vacuuming keeps, as journalctl reads it ("100M")
    std::int64_t keepBytes = 0;
  };
  struct PackageCache {
    std::string archives;  // downloaded .deb files
  };
  struct Snaps {
    std::string socket;     // snapd's socket
    std::string files;      // <files>/<name>_<revision>.snap
    std::string snapshots;  // <snapshots>/<set>_<snap>_<version>_<revision>.zip
  };
  struct FlatpakRuntimes {
    std::string userInstallation;    // holds runtime/<id>/<arch>/<branch>
    std::string systemInstallation;  // holds runtime/<id>/<arch>/<branch>
  };
  struct LocalSnapshots {
    std::string volume;  // the volume whose snapshots tmutil lists
  };
  // Files or folders found by name in fixed folders.
  struct Found {
    std::string id;
    std::string title;
    std::string subtitle;
    std::string icon;
    std::vector<std::string> folders;
    std::string namePrefix;  // entries whose names begin with this...
    std::string nameSuffix;  // ...and end with this
    bool foldersOnly = false;
    bool filesOnly = false;
    std::optional<int> tickedAfterDays;  // ticked when unchanged for this long
    // Owned by the system: deleted with rm through the administrator prompt. Otherwise
    // moved to the Trash.
    bool administrator = false;
  };

  std::string name;  // "linux" or "macos"
  std::optional<Journal> journal;
  std::optional<PackageCache> packageCache;
  std::optional<Snaps> snaps;
  std::optional<FlatpakRuntimes> flatpakRuntimes;
  std::optional<LocalSnapshots> localSnapshots;
  std::vector<Found> found;
};

[[nodiscard]] const SystemDataTable& linuxSystemDataTable();
[[nodiscard]] const SystemDataTable& macOSSystemDataTable();
[[nodiscard]] const SystemDataTable& platformSystemDataTable();

// The System Data screen: what the system keeps that the user rarely sees (logs, package
// downloads, old app revisions and snapshots, crash dumps). Each system-level item is one
// administrator command; the items of one clean run share one password prompt.
struct SystemData {
  // `root` is the folder system paths hang from ("" for the real system). Tools run with
  // the context's search paths and environment; its stop token ends the scan early.
  [[nodiscard]] static ProviderResult scan(const SystemDataTable& table, const Context& context,
                                           const std::string& root, Date now);
  // The scan of this platform's table; the system root is $TIDEWARDEN_SYSTEM_ROOT.
  [[nodiscard]] static ProviderResult load(const Context& context);
};

}  // namespace tw
