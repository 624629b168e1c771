#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "core/action_outcome.h"
#include "core/context.h"
#include "fs/file_identity.h"
#include "junk/junk_category.h"

namespace tw {

// How Smart Clean removals appear in the history.
inline constexpr const char* junkHistoryCategory = "Smart Clean";
inline constexpr const char* junkRestoreHint = "Rebuilt automatically by the app that made it";

// A path that was not (fully) removed, and why, in the user's words.
struct JunkFailure {
  std::string path;
  std::string reason;
};

struct JunkCleanOutcome {
  std::int64_t freed = 0;
  std::int64_t deleted = 0;
  std::vector<JunkFailure> failed;  // in the order tried
};

// Deletes one measured path as a clean does: from the trusted folder it lies in, no link
// followed (also none on the way down from the home folder), no other file system
// entered, and only while it is still the object that was measured.
[[nodiscard]] ActionOutcome removeMeasuredJunk(const std::string& path, std::int64_t size, const FileIdentity& measured,
                                               const Context& context);

// Deletes every item of the given categories, one after another, through the removal
// service and the disk scanner's guarded removal (inside the home folder, or below an XDG
// base folder the user set elsewhere as the removal guard allows; no links followed, no
// other file system entered). An item whose path no longer names what was
// measured (it was replaced, say by a link or a file) is left alone and counts as failed;
// one that has vanished is skipped. A failure never stops the run. Each category that
// freed something gets one history entry. `progress` is told each path before it is removed.
[[nodiscard]] JunkCleanOutcome cleanJunk(const std::vector<const JunkCategory*>& categories,
                                         const std::map<std::string, FileIdentity>& identities, const Context& context,
                                         const std::function<void(const std::string&)>& progress = {});

}  // namespace tw
