#include "screens/homebrew_cleanup.h"

#include <map>

#include "core/measure.h"
#include "core/shell.h"
#include "core/text.h"
#include "fs/path.h"
#include "screens/dev_tool_actions.h"
#include "screens/screen_order.h"

namespace tw {
namespace {

constexpr double cleanupListTimeout = 120;

// "Would remove: /opt/homebrew/Cellar/node/20.1.0 (2,345 files, 67.8MB)" -> the path.
std::optional<std::string> removedPath(const std::string& line) {
  static constexpr std::string_view prefix = "Would remove: ";
  if (!line.starts_with(prefix)) return std::nullopt;
  std::string path = line.substr(prefix.size());
  if (const std::size_t size = path.rfind(" ("); size != std::string::npos && path.ends_with(')')) path.resize(size);
  return path.starts_with('/') ? std::optional(path) : std::nullopt;
}

// The formula or cask a kept-back version belongs to: ".../Cellar/<name>/<version>".
std::optional<std::string> packageOf(const std::string& path) {
  for (const std::string_view folder : {"/Cellar/", "/Caskroom/"}) {
    const std::size_t at = path.find(folder);
    if (at == std::string::npos) continue;
    const std::string rest = path.substr(at + folder.size());
    const std::size_t slash = rest.find('/');
    if (slash != std::string::npos) return rest.substr(0, slash);
  }
  return std::nullopt;
}

DevItem packageItem(const std::string& brew, const std::string& name, const std::vector<std::string>& paths,
                    const Usage& usage) {
  std::string versions;
  for (const auto& path : paths) versions += (versions.empty() ? "" : ", ") + lastPathComponent(path);
  DevItem item;
  item.id = "homebrew:" + name;
  item.name = name;
  item.detail = "Old versions " + versions + " \u00b7 Homebrew keeps the newest";
  item.size = usage.size;
  item.freeable = usage.freeable;
  item.selected = true;
  item.action = DevAction::commands({{brew, "cleanup", name}});
  item.revealPath = parentPath(paths.front());
  return item;
}

DevItem downloadsItem(const std::vector<std::string>& paths, const Usage& usage) {
  DevItem item;
  item.id = "homebrew:downloads";
  item.name = "Old downloads";
  item.detail = std::to_string(paths.size()) + " files Homebrew no longer needs";
  item.size = usage.size;
  item.freeable = usage.freeable;
  item.selected = true;
  item.action = DevAction::removePaths(paths);
  return item;
}

}  // namespace

DevGroupPtr homebrewCleanupGroup(const ToolchainManager& manager, const DevToolsInput& input) {
  const auto brew = input.tool(manager.uninstall.tool, manager.uninstall.toolFolders);
  if (!brew) return nullptr;
  auto group = std::make_shared<DevGroup>(manager.id, manager.title, "brew cleanup", "wrench.and.screwdriver");
  const auto listed = Shell::run(*brew, {"cleanup", "-n"}, cleanupListTimeout, input.context);
  if (listed.code != 0) {
    const std::string reason = trimmed(listed.err);
    group->setNote("brew cleanup -n failed" + (reason.empty() ? std::string(".") : ": " + reason));
    return group;
  }
  std::map<std::string, std::vector<std::string>> packages;
  std::vector<std::string> downloads;
  for (const auto& line : splitLines(listed.out)) {
    const auto path = removedPath(line);
    if (!path) continue;
    if (const auto package = packageOf(*path)) {
      packages[*package].push_back(*path);
    } else {
      downloads.push_back(*path);
    }
  }
  std::vector<std::vector<std::string>> paths;
  for (const auto& [name, list] : packages) paths.push_back(list);
  paths.push_back(downloads);
  const auto usages = measure(paths, input.context.stop);
  std::vector<DevItem> items;
  std::size_t next = 0;
  for (const auto& [name, list] : packages) items.push_back(packageItem(*brew, name, list, usages[next++]));
  if (!downloads.empty()) items.push_back(downloadsItem(downloads, usages[next]));
  if (items.empty()) return nullptr;
  sortByFreeable(items);
  group->setItems(std::move(items));
  return group;
}

}  // namespace tw
