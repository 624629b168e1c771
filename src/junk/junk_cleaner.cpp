#include "junk/junk_cleaner.h"

#include "core/history.h"
#include "lens/disk_scanner.h"

namespace tw {
namespace {

enum class Removal { removed, vanished, failed };

Removal removeIfUnchanged(const JunkItem& item, const std::map<std::string, PathIdentity>& identities) {
  const auto now = PathIdentity::of(item.path);
  if (!now) return Removal::vanished;
  const auto then = identities.find(item.path);
  if (then == identities.end() || then->second != *now) return Removal::failed;
  return DiskScanner::remove(item.path) ? Removal::removed : Removal::failed;
}

std::string historyName(const JunkCategory& category, std::int64_t count) {
  return category.title + " (" + std::to_string(count) + (count == 1 ? " item)" : " items)");
}

}  // namespace

JunkCleanOutcome cleanJunk(const std::vector<const JunkCategory*>& categories,
                           const std::map<std::string, PathIdentity>& identities,
                           const std::function<void(const std::string&)>& progress) {
  JunkCleanOutcome outcome;
  for (const JunkCategory* category : categories) {
    std::int64_t freed = 0;
    std::int64_t deleted = 0;
    for (const auto& item : category->items()) {
      if (progress) progress(item.path);
      switch (removeIfUnchanged(item, identities)) {
        case Removal::removed:
          freed += item.size;
          ++deleted;
          break;
        case Removal::failed:
          outcome.failed.push_back(item.path);
          break;
        case Removal::vanished:
          break;
      }
    }
    if (deleted > 0) History::record(junkHistoryCategory, historyName(*category, deleted), freed, junkRestoreHint);
    outcome.freed += freed;
    outcome.deleted += deleted;
  }
  return outcome;
}

}  // namespace tw
