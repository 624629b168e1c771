#include "junk/junk_cleaner.h"

#include <sys/stat.h>

#include <cerrno>

#include "core/dev_safety.h"
#include "core/removal_service.h"
#include "core/removal_words.h"
#include "fs/anchored_remove.h"
#include "fs/path.h"

namespace tw {
namespace {

bool isLink(const std::string& path) {
  struct stat info {};
  return ::lstat(path.c_str(), &info) == 0 && S_ISLNK(info.st_mode);
}

// The first link on the way from the home folder down to `path`, if any.
std::optional<std::string> linkOnTheWay(const std::string& path, const std::string& home) {
  std::optional<std::string> link;
  for (std::string folder = parentPath(path); folder.size() > home.size(); folder = parentPath(folder)) {
    if (isLink(folder)) link = folder;
  }
  return link;
}

// The disk scanner's guard inside the home folder, reached from the home folder; a cache
// the user keeps elsewhere ($XDG_CACHE_HOME outside the home folder) from that folder, as
// the removal guard allows.
std::optional<RemovalStart> removalStartOf(const std::string& path, const Context& context) {
  if (DevSafety::deepInsideHome(path, context.home)) return RemovalStart{context.home, path};
  if (path.starts_with(context.home + "/")) return std::nullopt;
  return DevSafety::removalStart(path, context);
}

std::string historyName(const JunkCategory& category, std::size_t count) {
  return category.title + " (" + std::to_string(count) + (count == 1 ? " item)" : " items)");
}

}  // namespace

ActionOutcome removeMeasuredJunk(const std::string& path, std::int64_t size, const FileIdentity& measured,
                                 const Context& context) {
  const auto start = removalStartOf(path, context);
  if (!start) return ActionOutcome::failure("outside the folders it may delete from, so it was left alone");
  // A folder the listing reached through a link (~/.cache kept on another disk) is never
  // removed from the home folder: anyone could have put that link there. The user names
  // the folder it leads to, and it becomes a root of its own.
  if (start->top == context.home) {
    if (const auto link = linkOnTheWay(path, context.home)) {
      return ActionOutcome::failure("it is reached through the link " + tildePath(*link, context.home) +
                                    ", which removals never follow; name the folder it leads to in XDG_CACHE_HOME "
                                    "(or the XDG variable for that folder) to clean it");
    }
  }
  const AnchoredRemoval removal = removeBeneath(start->top, start->path, measured);
  if (removal.error == std::error_code(ESTALE, std::generic_category()) && removal.freed == 0) {
    return ActionOutcome::failure("replaced since it was measured");
  }
  return outcomeOfRemoval(lastPathComponent(path), removal, size);
}

JunkCleanOutcome cleanJunk(const std::vector<const JunkCategory*>& categories,
                           const std::map<std::string, FileIdentity>& identities, const Context& context,
                           const std::function<void(const std::string&)>& progress) {
  JunkCleanOutcome outcome;
  for (const JunkCategory* category : categories) {
    const auto& items = category->items();
    std::vector<RemovalItem> removals;
    for (const auto& item : items) {
      removals.push_back(RemovalItem::deletion(item.path, [&item, &identities](const Context& context) {
        const auto measured = identities.find(item.path);
        if (measured == identities.end()) return ActionOutcome::failure("replaced since it was measured");
        return removeMeasuredJunk(item.path, item.size, measured->second, context);
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
      if (!result.succeeded()) outcome.failed.push_back({items[index].path, result.reason});
    }
    outcome.freed += report.freed;
  }
  return outcome;
}

}  // namespace tw
