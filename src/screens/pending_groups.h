#pragma once

#include <optional>
#include <stop_token>
#include <string>
#include <vector>

#include "core/date.h"
#include "core/dev_group.h"
#include "screens/paths_in_use.h"

namespace tw {

// An item whose size is not measured yet: the paths that removing it frees (less any
// part offered as an item of its own). Without paths, the size the item already carries
// (as a tool reported it) stands.
struct PendingItem {
  DevItem item;
  std::vector<std::string> paths;
  // What removing it changes, when that is more than `paths`: a tool that deletes a whole
  // device takes the snapshots offered beside it too. A running program inside any of
  // these (or, without them, inside `paths`) keeps the item unticked.
  std::vector<std::string> removes;
  // Each of those paths is a folder its parent's listing named as a folder, never a link,
  // so only the parents need resolving before they are compared with what programs use.
  bool listedFolders = false;
};

struct PendingGroup {
  std::string id;
  std::string title;
  std::string subtitle;
  std::string icon;
  std::vector<PendingItem> items;
  std::optional<std::string> note;
  std::optional<Date> lastActive;
};

// Marks an item that a running program uses: a badge, a warning, and never pre-selected.
void markInUse(PendingItem& pending, const PathsInUse& running);
// The same for every item of the groups.
void markInUse(std::vector<PendingGroup>& groups, const PathsInUse& running);

// Measures every item of every group in one parallel pass, drops items that free
// nothing, orders items and groups by freeable bytes, and drops groups left without
// items unless they carry a note. A stop request ends the measuring early.
[[nodiscard]] std::vector<DevGroupPtr> measureGroups(std::vector<PendingGroup> groups, std::stop_token stop);

}  // namespace tw
