#include "screens/projects.h"

#include <algorithm>
#include <map>

#include "core/concurrent.h"
#include "core/format.h"
#include "core/measure.h"
#include "core/settings.h"
#include "fs/path.h"
#include "screens/screen_order.h"

namespace tw {
namespace {

DevItem artifactItem(const std::string& project, const Projects::Artifact& artifact, const Usage& usage) {
  DevItem item;
  item.id = artifact.path;
  item.name = artifact.path.substr(std::min(artifact.path.size(), project.size() + 1));
  item.detail = artifact.hint;
  item.size = usage.size;
  item.freeable = usage.freeable;
  // Hard links and clones (a pnpm store, a copied tree) leave most of it on disk.
  if (usage.freeable < usage.size / 2) item.badges.push_back({"mostly shared", Badge::Tone::info});
  item.action = DevAction::removePaths({artifact.path});
  item.revealPath = artifact.path;
  return item;
}

DevGroupPtr projectGroup(const std::string& home, const std::string& project, std::vector<DevItem> items, Date now) {
  const auto active = Projects::lastActive(project);
  std::string subtitle = tildePath(project, home);
  if (active) subtitle += " \u00b7 last active " + ago(*active, now);
  auto group = std::make_shared<DevGroup>(project, lastPathComponent(project), subtitle, "folder.badge.gearshape");
  group->lastActive = active;
  const bool idle = Projects::idle(active, now);
  if (idle) {
    group->setBadges({{"untouched 30+ days", Badge::Tone::warn}});
    for (auto& item : items) item.selected = true;
  }
  sortByFreeable(items);
  group->setItems(std::move(items));
  return group;
}

std::vector<Projects::Found> findAll(const std::vector<std::string>& projects, const std::stop_token& stop) {
  std::vector<std::vector<Projects::Found>> perProject(projects.size());
  concurrentPerform(
      projects.size(), [&](std::size_t index) { perProject[index] = Projects::artifacts(projects[index], stop); },
      stop);
  std::vector<Projects::Found> all;
  for (auto& found : perProject) std::move(found.begin(), found.end(), std::back_inserter(all));
  return all;
}

// Projects whose rebuildable folders are all empty were still found: saying none were
// would send the user looking for a setting that is already right.
std::string nothingToCleanNote(std::size_t projects) {
  if (projects == 0) return "No projects found. Add the folders where you keep your code.";
  if (projects == 1) return "Found 1 project; it holds no dependencies, build output or caches that take space.";
  return "Found " + std::to_string(projects) +
         " projects; none holds dependencies, build output or caches that take space.";
}

}  // namespace

ProviderResult Projects::load(const Context& context) {
  return scan(context.home, DevSettings::projectRoots(context), context.stop);
}

ProviderResult Projects::scan(const std::string& home, const std::vector<std::string>& roots, std::stop_token stop) {
  const auto projects = discover(roots, stop, home);
  const auto found = findAll(projects, stop);
  std::vector<std::string> paths;
  for (const auto& project : found) {
    for (const auto& artifact : project.artifacts) paths.push_back(artifact.path);
  }
  const auto usages = measure(paths, stop);

  const Date now = std::chrono::system_clock::now();
  std::vector<DevGroupPtr> groups;
  for (const auto& project : found) {
    std::vector<DevItem> items;
    for (const auto& artifact : project.artifacts) {
      const auto usage = usages.find(artifact.path);
      if (usage == usages.end() || usage->second.size < 1) continue;
      items.push_back(artifactItem(project.root, artifact, usage->second));
    }
    if (!items.empty()) groups.push_back(projectGroup(home, project.root, std::move(items), now));
  }
  sortByTotal(groups);
  if (groups.empty()) return {{}, nothingToCleanNote(projects.size())};
  return {std::move(groups), std::nullopt};
}

}  // namespace tw
