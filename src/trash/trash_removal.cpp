#include "trash/trash_removal.h"

#include <ftw.h>
#include <unistd.h>

#include <optional>
#include <system_error>

#include "core/removal_service.h"
#include "fs/file_flags.h"
#include "fs/safe_remove.h"
#include "fs/usage.h"
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

ActionOutcome removeOne(const TrashItem& item, const TrashDir& dir, const Context& context) {
  const std::int64_t freed = item.freeable ? *item.freeable : usageOf(item.path, context.stop).freeable;
  if (const std::error_code error = removeUnlocking(item.path)) {
    return needsMoreRights(error) ? ActionOutcome::needsRights(error.message())
                                  : ActionOutcome::failure(error.message());
  }
  forgetTrashRecords(dir, item.name);
  return ActionOutcome::success(freed);
}

}  // namespace

bool needsMoreRights(const std::error_code& error) {
  return error == std::errc::permission_denied || error == std::errc::operation_not_permitted;
}

void clearProtectionFlagsBelow(const std::string& path) {
  ::nftw(path.c_str(), clearFlagsOfEntry, maxOpenFolders, FTW_PHYS | FTW_MOUNT);
}

TrashRemoval removeFromTrash(const std::vector<TrashItem>& items, const std::vector<TrashDir>& dirs,
                             const Context& context, std::atomic<std::size_t>* finished) {
  std::vector<TrashItem> inTrash;
  std::vector<RemovalItem> removals;
  for (const auto& item : items) {
    auto dir = containingTrashDir(item.path, dirs);
    if (!dir) continue;
    inTrash.push_back(item);
    removals.push_back(RemovalItem::deletion(
        item.name, [item, dir = std::move(*dir)](const Context& context) { return removeOne(item, dir, context); }));
  }
  RemovalOptions options;
  options.category = "Trash";
  options.finished = finished;
  const RemovalReport report = runRemovals(context, removals, options);

  TrashRemoval result;
  result.freed = report.freed;
  for (std::size_t index = 0; index < inTrash.size(); ++index) {
    const ActionOutcome& outcome = report.outcomes[index];
    switch (outcome.status) {
      case ActionOutcome::Status::done:
      case ActionOutcome::Status::alreadyGone:
        result.removed.push_back(inTrash[index]);
        result.removed.back().freeable = outcome.freed;
        break;
      case ActionOutcome::Status::needsAdministrator:
        result.needsAdmin.push_back(inTrash[index].path);
        break;
      case ActionOutcome::Status::failed:
        result.blocked.push_back(inTrash[index].path);
        break;
      case ActionOutcome::Status::cancelled:
        break;  // never touched: still in the Trash
    }
  }
  return result;
}

}  // namespace tw
