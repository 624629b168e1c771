#include "core/admin_batch.h"
#include "core/dev_item.h"
#include "core/dev_safety.h"
#include "core/file_manager.h"
#include "core/removal_words.h"
#include "core/shell.h"
#include "core/sizes.h"
#include "core/text.h"
#include "fs/anchored_remove.h"
#include "fs/file_io.h"
#include "fs/path.h"
#include "fs/trash_mover.h"

namespace tw {
namespace {

// Tool commands may rebuild indexes or prune large caches.
constexpr double commandTimeout = 300;

ActionOutcome removeEach(const DevAction::RemovePaths& action, const Context& context) {
  std::int64_t freed = 0;
  for (const auto& path : action.paths) {
    if (context.stopRequested()) return ActionOutcome::cancellation();
    if (!pathExists(path)) continue;  // already gone is as good as removed
    // The removal starts from the root that allows it, not from the path string.
    const auto start = DevSafety::removalStart(path, context);
    if (!start) return ActionOutcome::failure("Refused to delete " + path);
    const AnchoredRemoval removal = removeBeneath(start->top, start->path);
    freed = saturatingAdd(freed, removal.freed);
    if (removal.error) {
      ActionOutcome outcome = outcomeOfRemoval(lastPathComponent(path), removal);
      outcome.freed = freed;
      return outcome;
    }
  }
  return ActionOutcome::success(freed);
}

ActionOutcome trashEach(const DevAction::Trash& action, const Context& context) {
  for (const auto& path : action.paths) {
    if (context.stopRequested()) return ActionOutcome::cancellation();
    if (!pathExists(path)) continue;
    // What the Trash mover cannot move, the system's file manager may (where there is one).
    if (moveToTrash(path, {context.home, context.dataHome}) &&
        (trashWithFileManager(path, context) || pathExists(path))) {
      return ActionOutcome::failure("Couldn't move " + lastPathComponent(path) + " to the Trash");
    }
  }
  return ActionOutcome::success();
}

ActionOutcome runEach(const DevAction::Commands& action, const Context& context) {
  for (const auto& command : action.commands) {
    if (command.empty()) continue;
    if (context.stopRequested()) return ActionOutcome::cancellation();
    const std::vector<std::string> arguments(command.begin() + 1, command.end());
    const auto result = Shell::run(command.front(), arguments, commandTimeout, context);
    if (result.code == 0) continue;
    std::string error = trimmed(result.err);
    return ActionOutcome::failure(error.empty() ? lastPathComponent(command.front()) + " failed" : error);
  }
  return ActionOutcome::success();
}

ActionOutcome runAsAdmin(const DevAction::Admin& action, const Context& context) {
  return runAllAsAdministrator({action.command}, context).front();
}

struct Performer {
  const Context& context;
  ActionOutcome operator()(const DevAction::RemovePaths& action) const { return removeEach(action, context); }
  ActionOutcome operator()(const DevAction::Trash& action) const { return trashEach(action, context); }
  ActionOutcome operator()(const DevAction::Admin& action) const { return runAsAdmin(action, context); }
  ActionOutcome operator()(const DevAction::Custom& action) const {
    if (!action.run) return ActionOutcome::success();
    auto error = action.run();
    return error ? ActionOutcome::failure(std::move(*error)) : ActionOutcome::success();
  }
  ActionOutcome operator()(const DevAction::Commands& action) const { return runEach(action, context); }
};

}  // namespace

ActionOutcome DevAction::perform(const Context& context) const { return std::visit(Performer{context}, value); }

}  // namespace tw
