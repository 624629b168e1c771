#include "junk/junk_cleaner.h"
#include <cerrno>

#include "core/dev_safety.h"
#include "core/removal_service.h"
#include "core/removal_words.h"
#include "fs/anchored_remove.h"
#include "fs/path.h"

namespace tw {
namespace {

ActionOutcome removeIfUnchanged(const JunkItem& item, const std::map<std::string, FileIdentity>& identities,
                                const Context& context) {
  const auto measured = identities.find(item.path);
  if (measured == identities.end()) return ActionOutcome::failure("replaced since it was measured");
  // The disk scanner's guard: inside the home folder only, reached from the home folder.
  if (!DevSafety::deepInsideHome(item.path, context.home)) return ActionOutcome::failure("could not be deleted");
  const AnchoredRemoval removal = removeBeneath(context.home, item.path, measured->second);
  if (removal.error == std::error_code(ESTALE, std::generic_category()) && removal.freed == 0) {
    return ActionOutcome::failure("replaced since it was measured");
  }
  return outcomeOfRemoval(lastPathComponent(item.path), removal, item.size);
}

std::string historyName(const JunkCategory& category, std::size_t count) {
  return category.title + " (" + std::to_string(count) + (count == 1 ? " item)" : " items)");
}

}  // namespace

JunkCleanOutcome cleanJunk(const std::vector<const JunkCategory*>& categories,
                           const std::map<std::string, FileIdentity>& identities, const Context& context,
                           const std::function<void(const std::string&)>& progress) {
  JunkCleanOutcome outcome;
  for (const JunkCategory* category : categories) {
    const auto& items = category->items();
    std::vector<RemovalItem> removals;
    for (const auto& item : items) {
      removals.push_back(RemovalItem::deletion(item.path, [&item, &identities](const Context& context) {
        return removeIfUnchanged(item, identities, context);
      }));
    }
    RemovalOptions options;
    options.category = junkHistoryCategory;
    options.batchName = [category](std::size_t done) { return historyName(*category, done); };
    options.batchRestore = junkRestoreHint;
    options.oneAtATime = true;
    if (progress) options.starting = [&](std::size_t index) { progress(items[index].path); };
    const RemovalReport report = runRemovals(context, removals, options);
    for (std::size_t index = 0; index < items.size(); ++index) {
      const ActionOutcome& result = report.outcomes[index];
      if (result.status == ActionOutcome::Status::done) ++outcome.deleted;
      if (!result.succeeded()) outcome.failed.push_back(items[index].path);
    }
    outcome.freed += report.freed;
  }
  return outcome;
}

}  // namespace tw
