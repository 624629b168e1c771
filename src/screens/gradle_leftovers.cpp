// Gradle downloads one distribution per version a project's wrapper asks for
// (wrapper/dists/gradle-8.2-bin) and keeps per-version caches (caches/8.2, daemon/8.2).
// A distribution that no project under the roots names any more is pre-selected, and so
// are the caches of versions that nothing installed keeps using.

#include <set>

#include "fs/file_io.h"
#include "fs/path.h"
#include "fs/usage.h"
#include "screens/ide_parts.h"

namespace tw {
namespace {

bool isDigit(char c) { return c >= '0' && c <= '9'; }

// "gradle-8.2-bin" -> "8.2"; "gradle-8.5-rc-1-all" -> "8.5-rc-1".
std::string distributionVersion(const std::string& name) {
  std::string version = name.starts_with("gradle-") ? name.substr(7) : name;
  for (const char* flavour : {"-bin", "-all"}) {
    if (version.ends_with(flavour)) version.resize(version.size() - 4);
  }
  return version;
}

std::string projectsNaming(const std::vector<ProjectPin>& pins, const std::string& distribution) {
  std::string names;
  for (const auto& pin : pins) {
    const std::string project = lastPathComponent(pin.project);
    if (pin.value == distribution && names.find(project) == std::string::npos) {
      names += (names.empty() ? "" : ", ") + project;
    }
  }
  return names;
}

PendingItem distributionItem(const std::string& folder, const std::string& name, const std::string& users,
                             bool trusted) {
  PendingItem pending;
  const std::string path = joinPath(folder, name);
  pending.paths = {path};
  pending.listedFolders = true;
  pending.item.id = path;
  pending.item.name = "Gradle " + distributionVersion(name) + (name.ends_with("-all") ? " (all)" : " (bin)");
  pending.item.detail = users.empty() ? "No project under your roots uses it" : "Used by " + users;
  if (!users.empty()) pending.item.badges.push_back({"used by " + users, Badge::Tone::info});
  pending.item.selected = users.empty() && trusted;
  pending.item.action = DevAction::removePaths({path});
  pending.item.revealPath = path;
  pending.item.restoreHint = "./gradlew downloads it again when a project asks for it";
  return pending;
}

// Gradle versions installed outside the wrapper (through SDKMAN!) keep their caches.
std::set<std::string> sdkmanGradleVersions(const DevToolTables& tables, const DevToolsInput& input) {
  std::set<std::string> versions;
  for (const auto& manager : tables.toolchains) {
    if (manager.kind != ToolchainManager::Kind::sdkman) continue;
    if (const auto root = input.locate(manager.roots)) {
      for (const auto& name : subfolderNames(*root + "/" + manager.versions + "/gradle")) versions.insert(name);
    }
  }
  return versions;
}

PendingItem cacheItem(const std::string& home, const std::string& version) {
  PendingItem pending;
  for (const char* folder : {"caches/", "daemon/"}) {
    if (isFolder(home + "/" + folder + version)) pending.paths.push_back(home + "/" + folder + version);
  }
  pending.item.id = pending.paths.front();
  pending.item.name = "caches/" + version;
  pending.item.detail = "Caches and daemon logs of Gradle " + version + ", which is no longer installed";
  pending.item.selected = true;
  pending.item.action = DevAction::removePaths(pending.paths);
  pending.item.revealPath = pending.paths.front();
  return pending;
}

}  // namespace

std::vector<PendingGroup> gradleLeftovers(const DevToolTables& tables, const DevToolsInput& input,
                                          const ProjectPins& pins, const PathsInUse& running) {
  const auto home = input.locate(tables.ide.gradleHome);
  if (!home || !isFolder(*home)) return {};
  PendingGroup group{"gradle", "Gradle", tildePath(*home, input.home()), "chevron.left.forwardslash.chevron.right", {},
                     {},       {}};
  const auto wrapperPins = pins.of("gradle-wrapper");
  const auto* unreadable = pins.unreadableFor("gradle-wrapper");
  if (unreadable) {
    group.note = "Can't read " + unreadable->file + " in " + lastPathComponent(unreadable->project) +
                 ", so no distribution is pre-selected.";
  }
  std::set<std::string> kept = sdkmanGradleVersions(tables, input);
  const std::string dists = *home + "/wrapper/dists";
  for (const auto& name : subfolderNames(dists)) {
    auto pending = distributionItem(dists, name, projectsNaming(wrapperPins, name), unreadable == nullptr);
    markInUse(pending, running);
    if (!pending.item.selected) kept.insert(distributionVersion(name));
    group.items.push_back(std::move(pending));
  }
  for (const auto& name : subfolderNames(*home + "/caches")) {
    if (name.empty() || !isDigit(name.front()) || kept.contains(name)) continue;
    auto pending = cacheItem(*home, name);
    markInUse(pending, running);
    group.items.push_back(std::move(pending));
  }
  if (group.items.empty() && !group.note) return {};
  return {std::move(group)};
}

}  // namespace tw
