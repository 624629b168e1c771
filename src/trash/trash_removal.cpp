#include "trash/trash_removal.h"

#include <unistd.h>

#include <optional>
#include <set>
#include <system_error>

#include "core/removal_service.h"
#include "core/removal_words.h"
#include "fs/anchored_remove.h"
#include "fs/file_flags.h"
#include "fs/usage.h"
#include "trash/trash_layout.h"
#include "trash/trash_paths.h"

namespace tw {
namespace {

AnchoredRemoval removeUnlocking(const std::string& top, const TrashItem& item) {
  // The listing's inode: an item swapped since the Trash was read is left alone.
  const std::optional<FileIdentity> listed =
      item.inode != 0 ? std::optional<FileIdentity>(FileIdentity{0, item.inode, 0}) : std::nullopt;
  AnchoredRemoval removal = removeBeneath(top, item.path, listed);
  if (!needsMoreRights(removal.error)) return removal;
  clearProtectionFlagsBeneath(top, item.path);
  const std::int64_t freedBefore = removal.freed;
  removal = removeBeneath(top, item.path, listed);
  removal.freed += freedBefore;
  return removal;
}

ActionOutcome removeOne(const TrashItem& item, const TrashDir& dir, const Context& context) {
  const std::int64_t measured = item.freeable ? *item.freeable : usageOf(item.path, context.stop).freeable;
  const std::string top = trustedTopOf(dir, context);
  const AnchoredRemoval removal = removeUnlocking(top, item);
  if (removal.error) return outcomeOfRemoval(item.name, removal);
  forgetTrashRecords(top, dir, item.name);
  return ActionOutcome::success(removal.wasGone ? 0 : measured);
}

// Records of entries that some other program deleted say nothing true any more; they go
// from the Trash folders that this removal worked in.
void forgetOrphanedRecords(const std::vector<TrashItem>& items, const std::vector<TrashDir>& dirs,
                           const Context& context) {
  std::set<std::string> swept;
  for (const auto& item : items) {
    const auto dir = containingTrashDir(item.path, dirs);
    if (!dir || !swept.insert(dir->dir).second) continue;
    const std::string top = trustedTopOf(*dir, context);
    for (const auto& name : TrashLayout::orphanedRecords(*dir)) forgetTrashRecords(top, *dir, name);
  }
}

}  // namespace

bool needsMoreRights(const std::error_code& error) {
  return error == std::errc::permission_denied || error == std::errc::operation_not_permitted;
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
  forgetOrphanedRecords(inTrash, dirs, context);
  return result;
}

}  // namespace tw
