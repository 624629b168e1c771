#include "screens/git_repos.h"

#include <limits>

#include "core/concurrent.h"
#include "core/format.h"
#include "core/platform_words.h"
#include "core/settings.h"
#include "core/shell.h"
#include "core/sizes.h"
#include "core/text.h"
#include "fs/file_io.h"
#include "fs/path.h"
#include "fs/usage.h"
#include "screens/git_output.h"
#include "screens/git_runner.h"
#include "screens/projects.h"
#include "screens/screen_order.h"

namespace tw {
namespace {

constexpr std::int64_t looseThreshold = 50'000'000;
constexpr std::int64_t lfsThreshold = 100'000'000;
constexpr std::int64_t largeGitThreshold = 1'000'000'000;
constexpr std::int64_t preselectAbove = 199'999'999;

std::int64_t kibibytes(std::int64_t value) {
  constexpr std::int64_t limit = std::numeric_limits<std::int64_t>::max() / 1024;
  return value > limit ? std::numeric_limits<std::int64_t>::max() : value * 1024;
}

bool needsNothing(const GitRepos::Stats& stats, const GitRepos::Footprint& footprint) {
  return stats.looseBytes < looseThreshold && stats.garbageBytes < 1 && stats.garbageCount < 1 &&
         footprint.lfsBytes < lfsThreshold && footprint.gitBytes < largeGitThreshold;
}

std::string detailFor(const std::string& repo, const GitRepos::Stats& stats, const GitRepos::Footprint& footprint,
                      const std::string& home) {
  std::string detail = tildePath(repo, home);
  const auto add = [&](const std::string& part) { detail += " \u00b7 " + part; };
  add(std::to_string(stats.looseCount) + " loose objects (" + byteFormatter(stats.looseBytes) + ")");
  add("packs " + byteFormatter(stats.packedBytes));
  if (stats.prunePackable > 0) add(std::to_string(stats.prunePackable) + " already packed");
  if (stats.garbageCount > 0) {
    add(std::to_string(stats.garbageCount) + " garbage files (" + byteFormatter(stats.garbageBytes) + ")");
  }
  if (footprint.lfsBytes > 0) add("LFS " + byteFormatter(footprint.lfsBytes));
  add("savings are an estimate");
  return detail;
}

std::vector<Badge> badgesFor(const GitRepos::Stats& stats, const GitRepos::Footprint& footprint) {
  std::vector<Badge> badges;
  if (stats.looseBytes >= looseThreshold)
    badges.push_back({byteFormatter(stats.looseBytes) + " loose", Badge::Tone::warn});
  if (stats.garbageCount > 0) badges.push_back({"garbage", Badge::Tone::warn});
  if (footprint.lfsBytes >= lfsThreshold)
    badges.push_back({"LFS " + byteFormatter(footprint.lfsBytes), Badge::Tone::info});
  if (footprint.gitBytes >= largeGitThreshold) badges.push_back({"large .git", Badge::Tone::info});
  if (footprint.gitRunning) badges.push_back({"git is running", Badge::Tone::danger});
  return badges;
}

GitRepos::Footprint footprintOf(const std::string& repo, const std::stop_token& stop) {
  GitRepos::Footprint footprint;
  const std::string dotGit = repo + "/.git";
  const std::string lfs = dotGit + "/lfs";
  footprint.lfsFolder = isFolder(lfs);
  if (footprint.lfsFolder) footprint.lfsBytes = usageOf(lfs, stop).size;
  footprint.gitBytes = usageOf(dotGit, stop).size;
  footprint.gitRunning = pathExists(dotGit + "/index.lock");
  return footprint;
}

std::vector<std::string> repositories(const Context& context) {
  std::vector<std::string> repos;
  for (const auto& project : Projects::discover(DevSettings::projectRoots(context), context.stop, context.home)) {
    if (pathExists(project + "/.git")) repos.push_back(project);
  }
  return repos;
}

}  // namespace

GitRepos::Stats GitRepos::parse(const std::string& output) {
  Stats stats;
  for (const auto& line : splitLines(output)) {
    const std::size_t colon = line.find(':');
    if (colon == std::string::npos) continue;
    const std::string key = trimmed(std::string_view(line).substr(0, colon));
    const std::int64_t value = wholeNumber(std::string_view(line).substr(colon + 1)).value_or(0);
    if (key == "size") {
      stats.looseBytes = kibibytes(value);
    } else if (key == "count") {
      stats.looseCount = value;
    } else if (key == "size-pack") {
      stats.packedBytes = kibibytes(value);
    } else if (key == "prune-packable") {
      stats.prunePackable = value;
    } else if (key == "size-garbage") {
      stats.garbageBytes = kibibytes(value);
    } else if (key == "garbage") {
      stats.garbageCount = value;
    }
  }
  return stats;
}

std::optional<DevItem> GitRepos::assess(const std::string& repo, const std::string& git, bool hasLFS,
                                        const Stats& stats, const Footprint& footprint, const std::string& home) {
  if (needsNothing(stats, footprint)) return std::nullopt;
  DevItem item;
  item.id = repo;
  item.name = lastPathComponent(repo);
  item.detail = detailFor(repo, stats, footprint, home);
  item.size = footprint.gitBytes;
  item.freeable = saturatingAdd(stats.looseBytes, stats.garbageBytes);
  item.badges = badgesFor(stats, footprint);
  item.selected = stats.looseBytes > preselectAbove && !footprint.gitRunning;
  item.action = DevAction::commands({{git, "-C", repo, "gc", "--prune=now", "--quiet"}});
  if (hasLFS && footprint.lfsFolder) {
    item.extra.push_back({"Prune Git LFS cache", DevAction::commands({{git, "-C", repo, "lfs", "prune"}})});
  }
  item.revealPath = repo;
  item.warning = footprint.gitRunning ? item.name + ": another git process seems to be running (index.lock exists)"
                                      : item.name + ": unreachable objects are deleted right away";
  return item;
}

std::optional<DevItem> GitRepos::inspect(const std::string& repo, const std::string& git, bool hasLFS,
                                         const Context& context) {
  const auto result = runGit(git, repo, {"count-objects", "-v"}, statsTimeout, context);
  if (result.code != 0) return std::nullopt;
  return assess(repo, git, hasLFS, parse(result.out), footprintOf(repo, context.stop), context.home);
}

ProviderResult GitRepos::load(const Context& context) {
  const auto git = Shell::which("git", context);
  if (!git) return {{}, gitMissingNote(platformWords(), "inspect repositories")};
  const bool hasLFS = Shell::which("git-lfs", context).has_value();

  const auto repos = repositories(context);
  std::vector<std::optional<DevItem>> inspected(repos.size());
  concurrentPerform(
      repos.size(), [&](std::size_t index) { inspected[index] = inspect(repos[index], *git, hasLFS, context); },
      context.stop);
  std::vector<DevItem> items;
  for (auto& item : inspected) {
    if (item) items.push_back(std::move(*item));
  }
  if (items.empty()) {
    if (repos.empty()) return {{}, "No git repositories found in your project folders."};
    return {{}, "None of your " + std::to_string(repos.size()) + " repositories need a cleanup."};
  }
  // Largest estimated savings first.
  sortByFreeable(items);
  auto group =
      std::make_shared<DevGroup>("git-bloat", "Bloated Git Repositories",
                                 "Loose objects and leftovers that git gc packs or removes.", "arrow.triangle.branch");
  group->setItems(std::move(items));
  return {{group}, std::nullopt};
}

}  // namespace tw
