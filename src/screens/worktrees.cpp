#include "screens/worktrees.h"

#include <map>

#include "core/concurrent.h"
#include "core/format.h"
#include "core/platform_words.h"
#include "core/settings.h"
#include "core/shell.h"
#include "core/text.h"
#include "fs/file_io.h"
#include "fs/path.h"
#include "fs/usage.h"
#include "screens/git_dirs.h"
#include "screens/git_output.h"
#include "screens/git_runner.h"
#include "screens/projects.h"
#include "screens/screen_order.h"
#include "screens/worktree_paths.h"

namespace tw {
namespace {

// One block of the porcelain list: the lines between two empty ones.
struct Block {
  Worktrees::Entry entry;

  void read(const std::string& line) {
    if (line.starts_with("worktree ")) {
      entry.path = line.substr(9);
    } else if (line.starts_with("branch ")) {
      std::string branch = line.substr(7);
      if (branch.starts_with("refs/heads/")) branch.erase(0, 11);
      entry.branch = branch;
    } else if (line == "detached") {
      entry.branch = "detached HEAD";
    } else if (line.starts_with("locked")) {
      entry.locked = true;
    } else if (line.starts_with("prunable")) {
      entry.prunable = true;
    }
  }

  // A block that never named its folder is no worktree.
  void finish(std::vector<Worktrees::Entry>& entries) {
    if (!entry.path.empty()) entries.push_back(std::move(entry));
    entry = {};
  }
};

// What git printed, or nothing when it failed or timed out (then `why` has its complaint).
std::optional<std::string> gitOutput(const std::string& git, const std::string& folder,
                                     const std::vector<std::string>& arguments, const Context& context,
                                     std::string& why) {
  auto result = runGit(git, folder, arguments, Worktrees::timeout, context);
  if (result.code == 0) return std::move(result.out);
  const auto lines = splitLines(trimmed(result.err));
  why = lines.empty() ? "git exited with status " + std::to_string(result.code) : lines.front();
  return std::nullopt;
}

DevItem missingItem(const Worktrees::Entry& entry, const std::string& repo, const std::string& git) {
  DevItem item;
  item.id = entry.path;
  item.name = lastPathComponent(entry.path);
  item.detail = "Folder is gone; git still tracks it";
  item.size = 0;
  item.freeable = 0;
  item.badges = {{"missing", Badge::Tone::danger}};
  item.selected = true;
  item.action = DevAction::commands({{git, "-C", repo, "worktree", "prune"}});
  return item;
}

// What git says about the work kept in one worktree.
struct WorkState {
  std::int64_t dirty = 0;
  std::int64_t unpushed = 0;
  std::optional<Date> lastCommit;
  std::optional<std::string> unreadable;  // why git could not tell: nothing about it is known
};

WorkState workState(const std::string& path, const std::string& git, bool hasRemote, const Context& context) {
  WorkState state;
  std::string why;
  const auto status = gitOutput(git, path, {"status", "--porcelain"}, context, why);
  if (!status) {
    state.unreadable = why;
    return state;
  }
  state.dirty = nonEmptyLineCount(*status);
  if (hasRemote) {
    const auto count = gitOutput(git, path, {"rev-list", "--count", "HEAD", "--not", "--remotes"}, context, why);
    if (!count || !wholeNumber(*count)) {
      state.unreadable = count ? "git printed no count of unpushed commits" : why;
      return state;
    }
    state.unpushed = *wholeNumber(*count);
  }
  // A worktree without commits has no date; that is known, not unreadable.
  if (const auto seconds = gitOutput(git, path, {"log", "-1", "--format=%ct"}, context, why)) {
    if (const auto number = wholeNumber(*seconds)) state.lastCommit = dateFromSeconds(*number);
  }
  return state;
}

// A worktree whose state git could not read: shown with the reason, never selected.
DevItem unknownStateItem(const Worktrees::Entry& entry, const std::string& why, DevItem item) {
  item.badges.clear();
  if (entry.branch) item.badges.push_back({*entry.branch, Badge::Tone::info});
  item.badges.push_back({"state unknown", Badge::Tone::danger});
  if (entry.locked) item.badges.push_back({"locked", Badge::Tone::danger});
  item.selected = false;
  item.detail = "State unknown \u00b7 " + entry.path;
  item.warning = item.name + ": git could not read its state (" + why + ")";
  return item;
}

std::vector<Badge> badgesFor(const Worktrees::Entry& entry, const WorkState& state, bool hasRemote) {
  std::vector<Badge> badges;
  if (entry.branch) badges.push_back({*entry.branch, Badge::Tone::info});
  if (state.dirty > 0) badges.push_back({std::to_string(state.dirty) + " uncommitted", Badge::Tone::warn});
  if (state.unpushed > 0) badges.push_back({std::to_string(state.unpushed) + " unpushed", Badge::Tone::warn});
  if (!hasRemote) badges.push_back({"no remote", Badge::Tone::warn});
  if (entry.locked) badges.push_back({"locked", Badge::Tone::danger});
  if (state.dirty == 0 && state.unpushed == 0 && hasRemote) badges.push_back({"safe to remove", Badge::Tone::ok});
  return badges;
}

std::vector<std::string> issuesFor(const Worktrees::Entry& entry, const WorkState& state, bool hasRemote) {
  std::vector<std::string> issues;
  if (state.dirty > 0) issues.emplace_back("uncommitted changes");
  if (state.unpushed > 0 || !hasRemote) issues.emplace_back("commits not on any remote");
  if (entry.locked) issues.emplace_back("is locked");
  return issues;
}

std::string joined(const std::vector<std::string>& parts, const std::string& separator) {
  std::string text;
  for (const auto& part : parts) {
    if (!text.empty()) text += separator;
    text += part;
  }
  return text;
}

// One repository's extra worktrees (never its main one) and whether it has a remote
// (nothing when git could not say).
struct RepoWorktrees {
  std::vector<Worktrees::Entry> extra;
  std::optional<bool> hasRemote;
};

// A repository that keeps worktrees: the folder git runs in (its main worktree, or a bare
// repository itself) and the git directory the worktrees share.
struct Repository {
  std::string folder;
  std::string gitDir;
};

RepoWorktrees readRepository(const Repository& repo, const std::string& git, const Context& context) {
  std::string why;
  const auto listed = gitOutput(git, repo.folder, {"worktree", "list", "--porcelain"}, context, why);
  if (!listed) return {};
  auto entries = Worktrees::parse(*listed);
  if (entries.size() < 2) return {};
  RepoWorktrees result;
  if (const auto remotes = gitOutput(git, repo.folder, {"remote"}, context, why))
    result.hasRemote = !trimmed(*remotes).empty();
  result.extra.assign(std::make_move_iterator(entries.begin() + 1), std::make_move_iterator(entries.end()));
  for (auto& entry : result.extra) entry.path = recordedWorktreePath(entry.path, repo.gitDir);
  return result;
}

// Where git runs for the repository whose worktrees share `common`: the main worktree
// beside a ".git" folder, else the bare repository.
std::string mainFolderOf(const std::string& common) {
  return lastPathComponent(common) == ".git" ? parentPath(common) : common;
}

// Each repository with worktrees once, however many of its worktrees the search found: a
// project whose ".git" is a folder, a file ("gitdir: ./.bare") or a bare repository is
// the repository itself; a linked worktree leads to the one it belongs to.
std::vector<Repository> repositories(const Context& context) {
  std::vector<Repository> repos;
  std::map<std::string, std::size_t> byGitDir;
  for (const auto& project : Projects::discover(DevSettings::projectRoots(context), context.stop, context.home)) {
    const auto gitDir = gitDirectoryOf(project);
    if (!gitDir) continue;
    const std::string common = commonGitDirectory(*gitDir);
    if (!isFolder(common + "/worktrees")) continue;
    const bool linked = common != *gitDir;
    Repository repo{linked ? mainFolderOf(common) : project, common};
    // A worktree records its repository's real path; the search may reach it through a link.
    const auto [known, added] = byGitDir.try_emplace(resolvedPath(common).value_or(common), repos.size());
    if (added) {
      repos.push_back(std::move(repo));
    } else if (!linked) {
      repos[known->second] = std::move(repo);
    }
  }
  return repos;
}

DevGroupPtr repositoryGroup(const std::string& repo, std::vector<DevItem> items, const std::string& home) {
  const std::size_t count = items.size();
  std::string subtitle =
      tildePath(repo, home) + " \u00b7 " + std::to_string(count) + " worktree" + (count == 1 ? "" : "s");
  auto group = std::make_shared<DevGroup>(repo, lastPathComponent(repo), subtitle, "arrow.triangle.branch");
  sortByFreeable(items);
  group->setItems(std::move(items));
  return group;
}

}  // namespace

std::vector<Worktrees::Entry> Worktrees::parse(const std::string& output) {
  std::vector<Entry> entries;
  Block block;
  for (const auto& line : splitLines(output)) {
    if (line.empty()) {
      block.finish(entries);
    } else {
      block.read(line);
    }
  }
  block.finish(entries);
  return entries;
}

DevItem Worktrees::item(const Entry& entry, const std::string& repo, const std::string& git,
                        std::optional<bool> knownRemote, const Context& context) {
  if (entry.prunable || !pathExists(entry.path)) return missingItem(entry, repo, git);
  const bool hasRemote = knownRemote.value_or(false);
  WorkState state = workState(entry.path, git, hasRemote, context);
  if (!knownRemote && !state.unreadable) state.unreadable = "its remotes could not be listed";
  const auto issues = issuesFor(entry, state, hasRemote);
  const auto [size, freeable] = usageOf(entry.path, context.stop);

  DevItem item;
  item.id = entry.path;
  item.name = lastPathComponent(entry.path);
  item.detail = (state.lastCommit ? "Last commit " + ago(*state.lastCommit) : std::string("No commits")) + " \u00b7 " +
                entry.path;
  item.size = size;
  item.freeable = freeable;
  item.badges = badgesFor(entry, state, hasRemote);
  item.selected = issues.empty();
  if (!issues.empty()) item.warning = item.name + ": " + joined(issues, ", ");
  std::vector<std::string> remove{git, "-C", repo, "worktree", "remove", "--force"};
  if (entry.locked) remove.emplace_back("--force");
  remove.push_back(entry.path);
  item.action = DevAction::commands({std::move(remove)});
  item.revealPath = entry.path;
  if (state.unreadable) return unknownStateItem(entry, *state.unreadable, std::move(item));
  return item;
}

ProviderResult Worktrees::load(const Context& context) {
  const auto git = Shell::which("git", context);
  if (!git) return {{}, gitMissingNote(platformWords(), "manage worktrees")};

  const auto repos = repositories(context);
  std::vector<RepoWorktrees> perRepo(repos.size());
  concurrentPerform(
      repos.size(), [&](std::size_t index) { perRepo[index] = readRepository(repos[index], *git, context); },
      context.stop);

  struct Pending {
    std::size_t repo;
    const Entry* entry;
  };
  std::vector<Pending> pending;
  for (std::size_t repo = 0; repo < repos.size(); ++repo) {
    for (const auto& entry : perRepo[repo].extra) pending.push_back({repo, &entry});
  }
  std::vector<DevItem> items(pending.size());
  concurrentPerform(
      pending.size(),
      [&](std::size_t index) {
        const auto& [repo, entry] = pending[index];
        items[index] = item(*entry, repos[repo].folder, *git, perRepo[repo].hasRemote, context);
      },
      context.stop);

  std::map<std::size_t, std::vector<DevItem>> byRepo;
  for (std::size_t index = 0; index < pending.size(); ++index) {
    byRepo[pending[index].repo].push_back(std::move(items[index]));
  }
  std::vector<DevGroupPtr> groups;
  for (auto& [repo, repoItems] : byRepo) {
    groups.push_back(repositoryGroup(repos[repo].folder, std::move(repoItems), context.home));
  }
  sortByTotal(groups);
  if (groups.empty()) return {{}, "No extra git worktrees found in your project folders."};
  return {std::move(groups), std::nullopt};
}

}  // namespace tw
