#include "trash/trash_removal.h"

#include <ftw.h>
#include <unistd.h>

#include <optional>
#include <system_error>

#include "core/concurrent.h"
#include "core/file_flags.h"
#include "core/history.h"
#include "lens/disk_scanner.h"
#include "lens/safe_remove.h"
#include "trash/trash_paths.h"

namespace tw {
namespace {

constexpr int maxOpenFolders = 32;

int clearFlagsOfEntry(const char* path, const struct stat*, int, struct FTW*) {
  // Best effort: whatever stays locked makes the retry fail and the item needs an admin.
  (void)clearProtectionFlags(path);
  return 0;
}

std::error_code removeUnlocking(const std::string& path) {
  std::error_code error = removeTreeSafely(path);
  if (!needsMoreRights(error)) return error;
  clearProtectionFlagsBelow(path);
  return removeTreeSafely(path);
}

enum class Outcome { removed, needsAdmin, blocked };

struct Slot {
  Outcome outcome = Outcome::blocked;
  std::int64_t freed = 0;
};

Slot removeOne(const TrashItem& item, const TrashDir& dir) {
  Slot slot;
  slot.freed = item.freeable ? *item.freeable : DiskScanner::usage(item.path).second;
  const std::error_code error = removeUnlocking(item.path);
  if (error) {
    slot.outcome = needsMoreRights(error) ? Outcome::needsAdmin : Outcome::blocked;
    return slot;
  }
  forgetTrashRecords(dir, item.name);
  slot.outcome = Outcome::removed;
  return slot;
}

}  // namespace

bool needsMoreRights(const std::error_code& error) {
  return error == std::errc::permission_denied || error == std::errc::operation_not_permitted;
}

void clearProtectionFlagsBelow(const std::string& path) {
  ::nftw(path.c_str(), clearFlagsOfEntry, maxOpenFolders, FTW_PHYS | FTW_MOUNT);
}

TrashRemoval removeFromTrash(const std::vector<TrashItem>& items, const std::vector<TrashDir>& dirs,
                             const std::function<void()>& itemDone) {
  std::vector<std::pair<TrashItem, TrashDir>> work;
  for (const auto& item : items) {
    if (auto dir = containingTrashDir(item.path, dirs)) work.emplace_back(item, std::move(*dir));
  }
  std::vector<Slot> slots(work.size());
  concurrentPerform(work.size(), [&](std::size_t index) {
    slots[index] = removeOne(work[index].first, work[index].second);
    if (itemDone) itemDone();
  });
  TrashRemoval result;
  for (std::size_t index = 0; index < work.size(); ++index) {
    const TrashItem& item = work[index].first;
    switch (slots[index].outcome) {
      case Outcome::removed:
        // Recorded here, one after another: recordings racing from worker threads can
        // read the same old log and drop each other's entries.
        History::record("Trash", item.name, slots[index].freed, std::nullopt);
        result.removed.push_back(item);
        result.removed.back().freeable = slots[index].freed;
        result.freed += slots[index].freed;
        break;
      case Outcome::needsAdmin:
        result.needsAdmin.push_back(item.path);
        break;
      case Outcome::blocked:
        result.blocked.push_back(item.path);
        break;
    }
  }
  return result;
}

}  // namespace tw
