// JetBrains IDEs and Android Studio keep one settings, cache, data (and on macOS log)
// folder per product and version, named like "IntelliJIdea2023.3". A version older than
// the newest of its product has been replaced: its caches are pre-selected, its settings
// and plugins offered for the Trash.

#include <map>
#include <regex>

#include "fs/path.h"
#include "fs/usage.h"
#include "screens/ide_parts.h"
#include "screens/version_text.h"

namespace tw {
namespace {

using Holds = IDEVendorPlace::Holds;

struct ProductVersion {
  std::string product;
  std::string version;
};

// "IntelliJIdea2023.3" -> ("IntelliJIdea", "2023.3"); other names (Toolbox, consentOptions) are no version.
std::optional<ProductVersion> productVersion(const std::string& name) {
  static const std::regex pattern(R"(^([A-Za-z][A-Za-z-]*?)(\d{4}\.\d+(?:\.\d+)?)$)");
  std::smatch match;
  if (!std::regex_match(name, match, pattern)) return std::nullopt;
  return ProductVersion{match[1].str(), match[2].str()};
}

std::string productTitle(const std::string& product) {
  static const std::map<std::string, std::string> titles{{"IntelliJIdea", "IntelliJ IDEA Ultimate"},
                                                         {"IdeaIC", "IntelliJ IDEA Community"},
                                                         {"PyCharm", "PyCharm Professional"},
                                                         {"PyCharmCE", "PyCharm Community"},
                                                         {"AndroidStudio", "Android Studio"},
                                                         {"AndroidStudioPreview", "Android Studio Preview"},
                                                         {"PhpStorm", "PhpStorm"},
                                                         {"WebStorm", "WebStorm"},
                                                         {"GoLand", "GoLand"},
                                                         {"CLion", "CLion"},
                                                         {"Rider", "Rider"},
                                                         {"RubyMine", "RubyMine"},
                                                         {"DataGrip", "DataGrip"},
                                                         {"DataSpell", "DataSpell"},
                                                         {"RustRover", "RustRover"},
                                                         {"Aqua", "Aqua"},
                                                         {"Writerside", "Writerside"}};
  const auto found = titles.find(product);
  return found != titles.end() ? found->second : product;
}

// product -> version -> the folders of that version, by what they hold.
using Products = std::map<std::string, std::map<std::string, std::vector<std::pair<Holds, std::string>>>>;

Products findProducts(const IDETable& table, const DevToolsInput& input) {
  Products products;
  for (const auto& vendor : table.jetBrains) {
    const auto folder = input.expand(vendor.place);
    if (!folder) continue;
    for (const auto& entry : listFolderNames(*folder).value_or(std::vector<NamedFolderEntry>{})) {
      const auto parsed = entry.isDir ? productVersion(entry.name) : std::nullopt;
      if (parsed) products[parsed->product][parsed->version].push_back({vendor.holds, joinPath(*folder, entry.name)});
    }
  }
  return products;
}

std::size_t pluginCount(const std::string& folder) {
  std::size_t count = 0;
  for (const auto& entry : listFolderNames(folder).value_or(std::vector<NamedFolderEntry>{})) {
    if (!entry.name.starts_with('.')) ++count;
  }
  return count;
}

std::string pluralPlugins(std::size_t count) { return std::to_string(count) + (count == 1 ? " plugin" : " plugins"); }

PendingItem folderItem(const std::string& label, Holds holds, const std::string& path, const std::string& newest) {
  PendingItem pending;
  DevItem& item = pending.item;
  item.id = path;
  item.revealPath = path;
  pending.paths = {path};
  pending.listedFolders = true;
  switch (holds) {
    case Holds::caches:
    case Holds::logs:
      item.name = label + " \u00b7 " + (holds == Holds::caches ? "caches" : "logs");
      item.detail = (holds == Holds::caches ? "Caches, indexes and logs" : "Logs") +
                    std::string(" \u00b7 rebuilt if that version is opened again");
      item.selected = true;
      item.action = DevAction::removePaths({path});
      break;
    case Holds::config: {
      const std::size_t plugins = pluginCount(joinPath(path, "plugins"));
      item.name = label + " \u00b7 settings";
      item.detail = "Keymaps, code styles and other settings" +
                    (plugins > 0 ? " and " + pluralPlugins(plugins) : std::string()) + " \u00b7 " + newest +
                    " imported them when it was first started";
      item.action = DevAction::trash({path});
      item.restoreHint = "Put it back from the Trash";
      break;
    }
    case Holds::data:
      item.name = label + " \u00b7 plugins";
      item.detail = pluralPlugins(pluginCount(path)) + " and other data \u00b7 " + newest + " keeps its own";
      item.action = DevAction::trash({path});
      item.restoreHint = "Put it back from the Trash";
      break;
  }
  return pending;
}

PendingGroup productGroup(const std::string& product,
                          const std::map<std::string, std::vector<std::pair<Holds, std::string>>>& versions,
                          const std::string& newest) {
  const std::string title = productTitle(product);
  PendingGroup group{"jetbrains:" + product, title, "", "chevron.left.forwardslash.chevron.right", {}, {}, {}};
  std::size_t older = 0;
  for (const auto& [version, folders] : versions) {
    if (version == newest) continue;
    ++older;
    for (const auto& [holds, path] : folders) {
      group.items.push_back(folderItem(title + " " + version, holds, path, title + " " + newest));
    }
  }
  group.subtitle =
      "Newest " + newest + " \u00b7 " + std::to_string(older) + (older == 1 ? " older version" : " older versions");
  return group;
}

}  // namespace

std::vector<PendingGroup> jetBrainsLeftovers(const IDETable& table, const DevToolsInput& input) {
  std::vector<PendingGroup> groups;
  for (const auto& [product, versions] : findProducts(table, input)) {
    std::string newest;
    for (const auto& [version, folders] : versions) {
      if (newest.empty() || compareVersions(version, newest) > 0) newest = version;
    }
    if (versions.size() > 1) groups.push_back(productGroup(product, versions, newest));
  }
  return groups;
}

}  // namespace tw
