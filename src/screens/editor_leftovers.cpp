// The VS Code family (VS Code, VSCodium, Cursor, Windsurf) keeps every extension version
// it installed in one folder, "publisher.name-1.2.3[-platform]", lists the installed ones
// in extensions.json and the ones it means to delete in ".obsolete". Beside that each
// editor keeps per-workspace data in User/workspaceStorage, also for projects long gone,
// and caches and logs it rebuilds on its own.

#include <functional>
#include <map>
#include <regex>
#include <set>

#include <nlohmann/json.hpp>

#include "fs/file_io.h"
#include "fs/path.h"
#include "fs/regular_file.h"
#include "fs/usage.h"
#include "screens/ide_parts.h"
#include "screens/version_text.h"

namespace tw {
namespace {

constexpr std::size_t maxEditorFileBytes = 8 * 1024 * 1024;

struct ExtensionFolder {
  std::string name;  // the folder's name
  std::string id;    // "ms-python.python", with the platform when there is one
  std::string version;
};

std::optional<ExtensionFolder> parseExtension(const std::string& name) {
  static const std::regex pattern(
      R"(^(.+?\..+?)-(\d+\.\d+\.\d+(?:[-.+][0-9A-Za-z.]+)?)(-(?:linux|darwin|win32|alpine|web)[-A-Za-z0-9]*)?$)");
  std::smatch match;
  if (!std::regex_match(name, match, pattern)) return std::nullopt;
  return ExtensionFolder{name, match[1].str() + match[3].str(), match[2].str()};
}

std::optional<nlohmann::json> readJSON(const std::string& path) {
  const auto text = readRegularFile(path, maxEditorFileBytes);
  if (!text) return std::nullopt;
  auto json = nlohmann::json::parse(*text, nullptr, false);
  if (json.is_discarded()) return std::nullopt;
  return json;
}

// The folder names a JSON file lists; nothing when the file is there but unreadable,
// an empty set when it is missing.
struct Listed {
  bool readable = true;
  bool present = false;
  std::set<std::string> names;
};

// The folder names a JSON file of the editor lists, through `collect`.
Listed readListed(const std::string& path, const std::function<bool(const nlohmann::json&, Listed&)>& collect) {
  Listed listed{true, pathExists(path), {}};
  if (!listed.present) return listed;
  const auto json = readJSON(path);
  if (!json || !collect(*json, listed)) return {false, true, {}};
  return listed;
}

Listed installedExtensions(const std::string& folder) {
  return readListed(folder + "/extensions.json", [](const nlohmann::json& json, Listed& listed) {
    if (!json.is_array()) return false;
    for (const auto& entry : json) {
      if (entry.is_object() && entry.contains("relativeLocation") && entry["relativeLocation"].is_string()) {
        listed.names.insert(entry["relativeLocation"].get<std::string>());
      }
    }
    return true;
  });
}

Listed obsoleteExtensions(const std::string& folder) {
  return readListed(folder + "/.obsolete", [](const nlohmann::json& json, Listed& listed) {
    if (!json.is_object()) return false;
    for (const auto& [name, flag] : json.items()) {
      if (flag == true) listed.names.insert(name);
    }
    return true;
  });
}

// Extensions and workspace data go to the Trash: the editor cannot rebuild them. Both are
// folders their parent's listing named.
PendingItem trashItem(const std::string& path, std::string name, std::string detail, bool selected) {
  PendingItem pending;
  pending.paths = {path};
  pending.listedFolders = true;
  pending.item.id = path;
  pending.item.name = std::move(name);
  pending.item.detail = std::move(detail);
  pending.item.selected = selected;
  pending.item.action = DevAction::trash({path});
  pending.item.revealPath = path;
  pending.item.restoreHint = "Put it back from the Trash";
  return pending;
}

// Versions the editor no longer uses: listed as obsolete, or older than the newest of the
// same extension. Installed ones (extensions.json) are never offered.
void addExtensions(const std::string& folder, PendingGroup& group) {
  const Listed installed = installedExtensions(folder), obsolete = obsoleteExtensions(folder);
  std::map<std::string, std::vector<ExtensionFolder>> byId;
  for (const auto& entry : listFolderNames(folder).value_or(std::vector<NamedFolderEntry>{})) {
    if (!entry.isDir) continue;
    if (auto parsed = parseExtension(entry.name)) byId[parsed->id].push_back(std::move(*parsed));
  }
  for (const auto& [id, versions] : byId) {
    std::string newest;
    for (const auto& version : versions) {
      if (newest.empty() || compareVersions(version.version, newest) > 0) newest = version.version;
    }
    for (const auto& version : versions) {
      if (installed.names.contains(version.name)) continue;
      const bool marked = obsolete.names.contains(version.name);
      const bool older = compareVersions(version.version, newest) < 0;
      if (!marked && !older) continue;
      const std::string reason = marked ? "Marked obsolete by the editor" : "Replaced by " + newest;
      // Unless the editor's own lists could be read, only its own "obsolete" mark counts.
      const bool trusted = installed.readable && obsolete.readable;
      group.items.push_back(
          trashItem(joinPath(folder, version.name), version.name, reason, marked || (older && trusted)));
    }
  }
  if (!installed.readable || !obsolete.readable) {
    group.note = "Can't read the editor's list of installed extensions, so older versions aren't pre-selected.";
  }
}

std::string percentDecoded(const std::string& text) {
  std::string decoded;
  for (std::size_t at = 0; at < text.size(); ++at) {
    if (text[at] == '%' && at + 2 < text.size() && std::isxdigit(static_cast<unsigned char>(text[at + 1])) &&
        std::isxdigit(static_cast<unsigned char>(text[at + 2]))) {
      decoded += static_cast<char>(std::stoi(text.substr(at + 1, 2), nullptr, 16));
      at += 2;
    } else {
      decoded += text[at];
    }
  }
  return decoded;
}

// The local folder or workspace file a workspace.json points at; nothing for remote ones.
std::optional<std::string> workspaceTarget(const nlohmann::json& json) {
  for (const char* key : {"folder", "workspace", "configuration"}) {
    if (!json.contains(key) || !json[key].is_string()) continue;
    const std::string uri = json[key];
    if (!uri.starts_with("file://")) return std::nullopt;
    return percentDecoded(uri.substr(7));
  }
  return std::nullopt;
}

PendingItem workspaceItem(const std::string& storage, std::string detail, bool selected) {
  return trashItem(storage, "workspaceStorage/" + lastPathComponent(storage), std::move(detail), selected);
}

// Editor data of projects that no longer exist. A project outside the home folder may be
// on a disk that is not connected, so it is shown but not pre-selected.
void addWorkspaces(const std::string& userData, const DevToolsInput& input, PendingGroup& group) {
  const std::string folder = userData + "/User/workspaceStorage";
  for (const auto& entry : listFolderNames(folder).value_or(std::vector<NamedFolderEntry>{})) {
    if (!entry.isDir) continue;
    const std::string storage = joinPath(folder, entry.name);
    const std::string manifest = storage + "/workspace.json";
    if (!pathExists(manifest)) continue;
    const auto json = readJSON(manifest);
    if (!json || !json->is_object()) {
      group.items.push_back(workspaceItem(storage, "Workspace data whose project can't be read", false));
      continue;
    }
    const auto target = workspaceTarget(*json);
    if (!target || pathExists(*target)) continue;
    const bool underHome = target->starts_with(input.home() + "/");
    group.items.push_back(workspaceItem(storage,
                                        "Data of " + tildePath(*target, input.home()) +
                                            (underHome ? ", which no longer exists"
                                                       : ", which isn't there (a disk "
                                                         "that isn't connected?)"),
                                        underHome));
  }
}

void addCaches(const std::string& userData, const std::string& editor, const IDETable& table, PendingGroup& group) {
  for (const auto& name : table.editorCaches) {
    const std::string path = joinPath(userData, name);
    if (!isFolder(path)) continue;
    PendingItem pending;
    pending.paths = {path};
    pending.item.id = path;
    pending.item.name = lastPathComponent(userData) + "/" + name;
    pending.item.detail =
        (name == "logs" ? "Logs" : "Cache") + std::string(" \u00b7 ") + editor + " rebuilds it on its own";
    pending.item.selected = true;
    pending.item.action = DevAction::removePaths({path});
    pending.item.revealPath = path;
    group.items.push_back(std::move(pending));
  }
}

}  // namespace

std::vector<PendingGroup> editorLeftovers(const IDETable& table, const DevToolsInput& input) {
  std::vector<PendingGroup> groups;
  for (const auto& editor : table.editors) {
    PendingGroup group{"editor:" + editor.id, editor.title, "", "chevron.left.forwardslash.chevron.right", {}, {}, {}};
    if (const auto extensions = input.expand(editor.extensions); extensions && isFolder(*extensions)) {
      group.subtitle = tildePath(*extensions, input.home());
      addExtensions(*extensions, group);
    }
    for (const auto& place : editor.userData) {
      const auto userData = input.expand(place);
      if (!userData || !isFolder(*userData)) continue;
      if (group.subtitle.empty()) group.subtitle = tildePath(*userData, input.home());
      addWorkspaces(*userData, input, group);
      addCaches(*userData, editor.title, table, group);
    }
    if (!group.items.empty()) groups.push_back(std::move(group));
  }
  return groups;
}

}  // namespace tw
