#include "screens/toolchains.h"

#include <sys/stat.h>

#include <algorithm>

#include "core/format.h"
#include "core/measure.h"
#include "fs/path.h"
#include "screens/dev_tool_actions.h"
#include "screens/dev_tool_state.h"
#include "screens/homebrew_cleanup.h"
#include "screens/projects.h"
#include "screens/screen_order.h"
#include "screens/toolchain_versions.h"

namespace tw {
namespace {

using Kind = ToolchainManager::Kind;

struct FoundManager {
  const ToolchainManager* manager;
  ManagerFindings findings;
  PreparedCommand uninstall;
};

struct World {
  const DevToolsInput& input;
  const PathsInUse& running;
  const PathsInUse& shell;
};

Keys keysFor(const FoundManager& found, const InstalledVersion& version) {
  return {{"root", found.findings.root},
          {"name", version.name},
          {"version", version.version},
          {"candidate", version.candidate}};
}

// When the version's programs last ran; nothing when none of them is there to tell.
std::optional<Date> lastRun(const ToolchainManager& manager, const InstalledVersion& version, const Keys& keys) {
  std::optional<Date> latest;
  for (const auto& probe : manager.probes) {
    const auto used = lastUsed(joinPath(version.paths.front(), fillIn(probe, keys)));
    if (used && (!latest || *used > *latest)) latest = used;
  }
  return latest;
}

std::optional<Date> modified(const std::string& path) {
  struct stat info {};
  if (::stat(path.c_str(), &info) != 0) return std::nullopt;
  return dateFromSeconds(static_cast<std::int64_t>(info.st_mtime));
}

VersionState stateOf(const FoundManager& found, const InstalledVersion& version, const World& world) {
  const std::string& folder = version.paths.front();
  VersionState state;
  state.isDefault = found.findings.defaults.contains(folder);
  state.active = found.findings.chosen.contains(folder) || world.shell.insideResolved(version.resolved);
  state.inUse = world.running.insideResolved(version.resolved);
  if (const auto pins = found.findings.pins.find(folder); pins != found.findings.pins.end()) {
    state.pins = pins->second;
  }
  if (found.manager->kind == Kind::xcodeArchives) {
    state.lastUsed = modified(folder);
  } else {
    state.lastUsed = lastRun(*found.manager, version, keysFor(found, version));
  }
  state.understood = found.findings.problems.empty();
  return state;
}

DevAction removal(const FoundManager& found, const InstalledVersion& version, const Context& context) {
  if (version.readOnly) return trashWriteProtected(version.paths, context);
  return found.uninstall.actionFor(keysFor(found, version), version.paths);
}

std::string itemName(const InstalledVersion& version) {
  return version.candidate.empty() ? version.name : version.candidate + " " + version.name;
}

DevItem versionItem(const FoundManager& found, const InstalledVersion& version, const VersionState& state,
                    const Usage& usage, const World& world) {
  DevItem item;
  item.id = version.paths.front();
  item.name = itemName(version);
  item.size = usage.size;
  item.freeable = usage.freeable;
  item.revealPath = version.paths.front();
  item.action = removal(found, version, world.input.context);
  if (found.manager->kind == Kind::xcodeArchives) {
    describeArchive(state, world.input.now, item);
  } else {
    describeVersion(state, world.input.now, item);
    item.selected = state.preselected(world.input.now);
    if (!found.manager->restore.empty()) item.restoreHint = fillIn(found.manager->restore, keysFor(found, version));
  }
  return item;
}

DevGroupPtr managerGroup(const FoundManager& found, std::vector<DevItem> items, std::optional<Date> lastActive,
                         const World& world) {
  const auto& findings = found.findings;
  const std::string subtitle = tildePath(findings.versionsFolder, world.input.home()) + " \u00b7 " +
                               std::to_string(items.size()) + (items.size() == 1 ? " version" : " versions");
  auto group = std::make_shared<DevGroup>(found.manager->id, found.manager->title, subtitle, "wrench.and.screwdriver");
  group->lastActive = lastActive;
  if (!findings.problems.empty()) group->setNote(failClosedNote(findings.problems));
  sortByFreeable(items);
  group->setItems(std::move(items));
  return group;
}

std::vector<FoundManager> findManagers(const DevToolTables& tables, const DevToolsInput& input) {
  const auto pins = ProjectPins::read(Projects::discover(input.projectRoots, input.context.stop, input.context.home));
  std::vector<FoundManager> found;
  for (const auto& manager : tables.toolchains) {
    if (input.stopRequested()) break;
    if (manager.kind == Kind::homebrew) continue;
    const auto root = input.locate(manager.roots);
    if (!root) continue;
    auto findings = readManager(manager, *root, pins, input);
    if (findings.versions.empty()) continue;
    PreparedCommand uninstall(manager.uninstall, input, {{"root", *root}});
    found.push_back({&manager, std::move(findings), std::move(uninstall)});
  }
  return found;
}

std::string lookedFor(const DevToolTables& tables) {
  std::string names;
  for (const auto& manager : tables.toolchains) names += (names.empty() ? "" : ", ") + manager.title;
  return "No toolchains found. Tidewarden looks for " + names + ".";
}

}  // namespace

ProviderResult Toolchains::scan(const DevToolsInput& input, const DevToolTables& tables) {
  auto looking = PathsInUse::lookInBackground();
  const auto managers = findManagers(tables, input);
  std::vector<std::vector<std::string>> paths;
  for (const auto& found : managers) {
    for (const auto& version : found.findings.versions) paths.push_back(version.paths);
  }
  const auto usages = measure(paths, input.context.stop);
  const PathsInUse running = looking.get();
  const PathsInUse shell = shellPaths(input);
  const World world{input, running, shell};

  std::vector<DevGroupPtr> groups;
  std::size_t next = 0;
  for (const auto& found : managers) {
    std::vector<DevItem> items;
    std::optional<Date> lastActive;
    for (const auto& version : found.findings.versions) {
      const VersionState state = stateOf(found, version, world);
      if (state.lastUsed && (!lastActive || *state.lastUsed > *lastActive)) lastActive = state.lastUsed;
      items.push_back(versionItem(found, version, state, usages[next++], world));
    }
    groups.push_back(managerGroup(found, std::move(items), lastActive, world));
  }
  for (const auto& manager : tables.toolchains) {
    if (manager.kind != Kind::homebrew || input.stopRequested()) continue;
    if (auto group = homebrewCleanupGroup(manager, input)) groups.push_back(std::move(group));
  }
  sortByTotal(groups);
  if (groups.empty()) return {{}, lookedFor(tables)};
  return {std::move(groups), std::nullopt};
}

ProviderResult Toolchains::load(const Context& context) {
  return scan(DevToolsInput::from(context), platformDevToolTables());
}

}  // namespace tw
