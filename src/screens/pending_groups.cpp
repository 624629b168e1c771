#include "screens/pending_groups.h"

#include <algorithm>

#include "core/measure.h"
#include "screens/screen_order.h"

namespace tw {

void markInUse(PendingItem& pending, const PathsInUse& running) {
  for (const auto& path : pending.removes.empty() ? pending.paths : pending.removes) {
    if (!(pending.listedFolders ? running.insideListedFolder(path) : running.inside(path))) continue;
    pending.item.selected = false;
    pending.item.badges.push_back({"in use", Badge::Tone::warn});
    pending.item.warning = "A running program uses this right now.";
    return;
  }
}

void markInUse(std::vector<PendingGroup>& groups, const PathsInUse& running) {
  for (auto& group : groups) {
    for (auto& pending : group.items) markInUse(pending, running);
  }
}

std::vector<DevGroupPtr> measureGroups(std::vector<PendingGroup> groups, std::stop_token stop) {
  std::vector<std::vector<std::string>> paths;
  for (const auto& group : groups) {
    for (const auto& pending : group.items) {
      paths.push_back(pending.paths);
    }
  }
  const auto usages = measure(paths, std::move(stop));
  std::vector<DevGroupPtr> result;
  std::size_t next = 0;
  for (auto& pending : groups) {
    std::vector<DevItem> items;
    for (auto& entry : pending.items) {
      const Usage usage = usages[next++];
      if (!entry.paths.empty()) {
        entry.item.size = usage.size;
        entry.item.freeable = usage.freeable;
      }
      if (entry.item.size.value_or(0) > 0) items.push_back(std::move(entry.item));
    }
    if (items.empty() && !pending.note) continue;
    auto group = std::make_shared<DevGroup>(pending.id, pending.title, pending.subtitle, pending.icon);
    group->lastActive = pending.lastActive;
    group->setNote(pending.note);
    sortByFreeable(items);
    group->setItems(std::move(items));
    result.push_back(std::move(group));
  }
  sortByTotal(result);
  return result;
}

}  // namespace tw
