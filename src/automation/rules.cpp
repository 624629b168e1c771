#include "automation/rules.h"

#include <algorithm>

#include "automation/automation_platform.h"
#include "core/dev_group.h"
#include "core/shell.h"
#include "fs/file_io.h"
#include "fs/path.h"
#include "fs/usage.h"
#include "junk/junk_cleaner.h"
#include "junk/junk_model.h"
#include "junk/junk_scan.h"
#include "screens/projects.h"
#include "screens/worktrees.h"

namespace tw {
namespace {

DevItem deletionItem(const std::string& path, const std::string& name, std::int64_t size, std::int64_t freeable,
                     std::optional<std::string> restore) {
  DevItem item;
  item.id = path;
  item.name = name;
  item.size = size;
  item.freeable = freeable;
  item.selected = true;
  item.action = DevAction::removePaths({path});
  item.revealPath = path;
  item.restoreHint = std::move(restore);
  return item;
}

}  // namespace

const std::set<std::string>& Rules::safeCategories() {
  static const std::set<std::string> ids{"caches", "appcaches", "logs", "xcode", "dev"};
  return ids;
}

std::vector<DevItem> Rules::smartClean(const Context& context) {
  JunkCategories safe;
  for (auto& category : JunkModel::makeCategories(context)) {
    if (safeCategories().contains(category->id)) safe.push_back(std::move(category));
  }
  (void)scanJunk(safe, JunkScanMode::concurrent, context.stop);
  std::vector<DevItem> items;
  for (const auto& category : safe) {
    for (const auto& found : category->items()) {
      // The scan already dropped what measures zero.
      items.push_back(
          deletionItem(found.path, tildePath(found.path, context.home), found.size, found.size, junkRestoreHint));
    }
  }
  return items;
}

std::vector<DevItem> Rules::derivedData(const Context& context) { return derivedData(context, platformRuleTable()); }

std::vector<DevItem> Rules::derivedData(const Context& context, const RuleTable& table) {
  if (!table.derivedDataFolder) return {};
  std::string folder = *table.derivedDataFolder;
  if (folder.starts_with('~')) folder = context.home + folder.substr(1);
  std::vector<DevItem> items;
  for (const auto& entry : listFolder(folder).value_or(std::vector<FolderEntry>{})) {
    if (context.stopRequested()) break;
    const std::string path = folder + "/" + entry.name;
    const auto [size, freeable] = usageOf(path, context.stop);
    items.push_back(deletionItem(path, entry.name, size, freeable, "Rebuilt on the next Xcode build"));
  }
  return items;
}

std::vector<DevItem> Rules::projectLeftovers(const Context& context, std::int64_t days, Date now) {
  const auto age = std::chrono::seconds(std::max<std::int64_t>(days, 0) * 86'400);
  std::vector<DevItem> items;
  for (const auto& group : Projects::load(context).groups) {
    if (!group->lastActive || now - *group->lastActive < age) continue;
    for (DevItem item : group->items()) {
      item.selected = true;
      items.push_back(std::move(item));
    }
  }
  return items;
}

std::optional<std::string> Rules::baseBranch(const std::string& repo, const std::string& git, const Context& context) {
  for (const char* ref : {"origin/HEAD", "origin/main", "origin/master", "main", "master"}) {
    if (Shell::run(git, {"-C", repo, "rev-parse", "--verify", "--quiet", ref}, baseBranchTimeout, context).code == 0) {
      return ref;
    }
  }
  return std::nullopt;
}

namespace {

// Git read this worktree's state and found nothing that removing it would lose. The
// repository's fsmonitor program, if it names one, is not run.
bool readAndClean(const std::string& worktree, const std::string& git, const Context& context) {
  const auto status = Shell::run(git, {"-c", "core.fsmonitor=false", "-C", worktree, "status", "--porcelain"},
                                 Rules::mergedTimeout, context);
  return status.code == 0 && status.out.find_first_not_of(" \t\r\n") == std::string::npos;
}

bool merged(const std::string& worktree, const std::string& base, const std::string& git, const Context& context) {
  return Shell::run(git, {"-C", worktree, "merge-base", "--is-ancestor", "HEAD", base}, Rules::mergedTimeout, context)
             .code == 0;
}

bool hasBadge(const DevItem& item, const std::string& text) {
  return std::any_of(item.badges.begin(), item.badges.end(), [&](const Badge& badge) { return badge.text == text; });
}

}  // namespace

std::vector<DevItem> Rules::mergedWorktrees(const Context& context) {
  const auto git = Shell::which("git", context);
  if (!git) return {};
  std::vector<DevItem> items;
  for (const auto& group : Worktrees::load(context).groups) {
    const std::string& repo = group->id;
    const auto base = baseBranch(repo, *git, context);
    if (!base) continue;
    for (DevItem item : group->items()) {
      if (context.stopRequested()) return items;
      // Only worktrees with a folder to test; a missing one is no merged work.
      if (!item.revealPath || !isFolder(*item.revealPath) || hasBadge(item, "locked")) continue;
      const std::string worktree = *item.revealPath;
      if (!readAndClean(worktree, *git, context) || !merged(worktree, *base, *git, context)) continue;
      item.selected = true;
      item.action = DevAction::commands({{*git, "-C", repo, "worktree", "remove", worktree}});
      items.push_back(std::move(item));
    }
  }
  return items;
}

}  // namespace tw
