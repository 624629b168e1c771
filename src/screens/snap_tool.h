#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "core/context.h"

namespace tw {

// The snap tool waits without end for a snapd that is not running, so nothing here runs
// snap before serviceListening (service_socket.h) has said yes for snapd's socket.

// One revision as `snap list` reports it.
struct SnapRevision {
  std::string name;
  std::string version;
  std::string revision;
  std::string notes;  // "-", "base", "disabled", "classic,disabled", ...

  [[nodiscard]] bool hasNote(const std::string& note) const;
  friend bool operator==(const SnapRevision&, const SnapRevision&) = default;
};

// The installed snaps (`all`: every revision kept on disk, `snap list --all`); nothing when
// the listing failed.
[[nodiscard]] std::optional<std::vector<SnapRevision>> listSnaps(const std::string& snap, bool all,
                                                                 const Context& context);

// One snap of a saved snapshot set, as `snap saved` reports it.
struct SnapSnapshot {
  std::string set;
  std::string snap;
  std::string age;
  std::string version;
  std::string revision;
  std::optional<std::int64_t> size;  // as snap rounds it ("4.10MB"); nothing when unreadable
  friend bool operator==(const SnapSnapshot&, const SnapSnapshot&) = default;
};

[[nodiscard]] std::optional<std::vector<SnapSnapshot>> listSnapSnapshots(const std::string& snap,
                                                                         const Context& context);

}  // namespace tw
