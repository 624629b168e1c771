#include "screens/uninstaller.h"

#include <sys/stat.h>

#include <algorithm>
#include <set>

#include "core/shell.h"
#include "fs/file_io.h"
#include "fs/path.h"
#include "lens/disk_scanner.h"
#include "screens/admin_command.h"
#include "screens/app_bundles.h"
#include "screens/desktop_entry.h"
#include "screens/dpkg_tool.h"
#include "screens/flatpak_tool.h"
#include "screens/folder_entries.h"
#include "screens/pending_items.h"
#include "screens/places.h"
#include "screens/registry.h"
#include "screens/screen_order.h"
#include "screens/service_socket.h"
#include "screens/snap_tool.h"

namespace tw {
namespace {

constexpr const char* trashHint = "Put it back from the Trash";

// What one scan gathers, source by source.
struct Gathered {
  const Context& context;
  const Places& places;
  std::vector<DevGroupPtr> groups;
  std::vector<ItemToMeasure> leftovers;
  std::vector<std::string> unchecked;  // "snaps (snapd isn't running)"
};

bool isRegularFile(const std::string& path) {
  struct stat info {};
  return ::lstat(path.c_str(), &info) == 0 && S_ISREG(info.st_mode);
}

void addGroup(Gathered& gathered, DevGroupPtr group) {
  if (group) gathered.groups.push_back(std::move(group));
}

// An item moved to the Trash with everything that belongs to it; the first path is the
// thing itself.
ItemToMeasure trashItem(std::vector<std::string> paths, std::string name, std::string detail) {
  ItemToMeasure pending;
  pending.item.id = paths.front();
  pending.item.name = std::move(name);
  pending.item.detail = std::move(detail);
  pending.item.action = DevAction::trash(paths);
  pending.item.revealPath = paths.front();
  pending.item.restoreHint = trashHint;
  pending.measured = std::move(paths);
  return pending;
}

// An app's data folder in the home folder: a separate item, because removing the app
// leaves it where it is.
void addDataFolder(const Places& places, std::vector<ItemToMeasure>& items, const std::string& path,
                   const std::string& appName, const std::string& what) {
  if (isFolder(path)) items.push_back(trashItem({path}, appName + " data", places.tilde(path) + " \u00b7 " + what));
}

// A leftover is ticked only when its owner is certainly gone.
void addLeftover(Gathered& gathered, const std::string& path, const std::string& name, bool ownerGone,
                 const std::string& gone, const std::string& unsure) {
  ItemToMeasure pending =
      trashItem({path}, name, gathered.places.tilde(path) + " \u00b7 " + (ownerGone ? gone : unsure));
  pending.item.selected = ownerGone;
  gathered.leftovers.push_back(std::move(pending));
}

// --- Flatpak ---

ItemToMeasure flatpakItem(const FlatpakApp& app, const std::string& flatpak, const std::string& installation) {
  ItemToMeasure pending;
  pending.item.id = "flatpak/" + app.installation + "/" + app.id;
  pending.item.name = app.name;
  pending.item.detail =
      app.id + (app.version.empty() ? "" : " " + app.version) + " \u00b7 " + app.installation + " installation";
  if (app.installation == "user") {
    pending.item.action = DevAction::commands({{flatpak, "uninstall", "--user", "--noninteractive", app.id}});
  } else {
    pending.item.action = adminCommands(
        {{"flatpak", "uninstall", flatpakInstallationOption(app.installation), "--noninteractive", app.id}});
  }
  pending.item.restoreHint = "Install it again with flatpak install " + app.id;
  // The deployed files are hard links into flatpak's object store, which uninstalling
  // prunes as well.
  if (!installation.empty()) pending.measured = {installation + "/app/" + app.id};
  pending.freesShared = true;
  return pending;
}

void gatherFlatpak(const UninstallerTable::Flatpak& table, const Places& places, Gathered& gathered) {
  const std::string user = places.expand(table.userInstallation);
  const std::string system = places.expand(table.systemInstallation);
  const auto flatpak = Shell::which("flatpak", gathered.context);
  std::optional<std::vector<FlatpakApp>> apps;
  if (!flatpak) {
    gathered.unchecked.push_back("Flatpak apps (flatpak isn't installed)");
  } else if (!(apps = listFlatpakApps(*flatpak, gathered.context))) {
    gathered.unchecked.push_back("Flatpak apps (flatpak couldn't list them)");
  }
  const std::string dataFolder = places.expand(table.data);
  std::set<std::string> installed;
  std::vector<ItemToMeasure> items;
  for (const auto& app : apps.value_or(std::vector<FlatpakApp>{})) {
    installed.insert(app.id);
    const std::string installation = app.installation == "user" ? user : app.installation == "system" ? system : "";
    items.push_back(flatpakItem(app, *flatpak, installation));
    addDataFolder(places, items, joinPath(dataFolder, app.id), app.name, "kept by flatpak uninstall");
  }
  addGroup(gathered, groupOf("flatpak", "Flatpak Apps",
                             "Removed with flatpak uninstall; their data stays unless you "
                             "remove it too",
                             "shippingbox", measuredItems(std::move(items))));
  for (const auto& entry : entriesByName(dataFolder)) {
    if (!entry.isDir || installed.contains(entry.name)) continue;
    const bool gone =
        apps.has_value() && !pathExists(user + "/app/" + entry.name) && !pathExists(system + "/app/" + entry.name);
    addLeftover(gathered, entry.path, entry.name, gone, "data of a Flatpak app that is no longer installed",
                "data of a Flatpak app that may still be installed");
  }
}

// --- Snaps ---

// Snaps that are parts of the system rather than apps.
bool isSystemSnap(const SnapRevision& snap) {
  for (const char* note : {"base", "core", "snapd", "gadget", "kernel"}) {
    if (snap.hasNote(note)) return true;
  }
  return false;
}

void gatherSnaps(const UninstallerTable::Snap& table, const Places& places, Gathered& gathered) {
  const auto snap = Shell::which("snap", gathered.context);
  std::optional<std::vector<SnapRevision>> snaps;
  if (!snap) {
    gathered.unchecked.push_back("snaps (snap isn't installed)");
  } else if (!serviceListening(places.expand(table.socket))) {
    gathered.unchecked.push_back("snaps (snapd isn't running)");
  } else if (!(snaps = listSnaps(*snap, false, gathered.context))) {
    gathered.unchecked.push_back("snaps (snap couldn't list them)");
  }
  const auto files = entriesByName(places.expand(table.files));
  const std::string dataFolder = places.expand(table.data);
  std::set<std::string> installed;
  std::vector<ItemToMeasure> items;
  for (const auto& revision : snaps.value_or(std::vector<SnapRevision>{})) {
    installed.insert(revision.name);
    if (isSystemSnap(revision)) continue;
    ItemToMeasure pending;
    pending.item.id = "snap/" + revision.name;
    pending.item.name = revision.name;
    pending.item.detail = "snap " + revision.version + " \u00b7 revision " + revision.revision;
    pending.item.action = adminCommands({{"snap", "remove", revision.name}});
    pending.item.restoreHint = "Install it again with snap install " + revision.name;
    for (const auto& file : files) {
      if (file.name.starts_with(revision.name + "_") && file.name.ends_with(".snap"))
        pending.measured.push_back(file.path);
    }
    items.push_back(std::move(pending));
    addDataFolder(places, items, joinPath(dataFolder, revision.name), revision.name,
                  "your files and settings of this snap");
  }
  addGroup(gathered, groupOf("snap", "Snaps", "Removed with snap remove", "cube", measuredItems(std::move(items))));
  for (const auto& entry : entriesByName(dataFolder)) {
    if (!entry.isDir || installed.contains(entry.name)) continue;
    const bool gone = snaps.has_value() && !pathExists(joinPath(places.expand(table.mounts), entry.name));
    addLeftover(gathered, entry.path, entry.name, gone, "data of a snap that is no longer installed",
                "data of a snap that may still be installed");
  }
}

// --- Debian packages ---

struct MenuEntry {
  std::string systemPath;  // as dpkg knows it
  DesktopEntry entry;
};

std::vector<MenuEntry> menuEntries(const UninstallerTable::Debian& table, const Places& places) {
  std::vector<MenuEntry> found;
  for (const auto& folder : table.entryFolders) {
    for (const auto& file : entriesByName(places.expand(folder))) {
      if (file.isDir || !file.name.ends_with(".desktop")) continue;
      auto entry = readDesktopEntry(file.path);
      if (entry && entry->shownApplication()) found.push_back({places.unrooted(file.path), std::move(*entry)});
    }
  }
  return found;
}

ItemToMeasure packageItem(const PackageRecord& record, const std::string& title) {
  ItemToMeasure pending;
  pending.item.id = "deb/" + record.name;
  pending.item.name = title;
  pending.item.detail = record.name + " " + record.version + " \u00b7 Debian package";
  pending.item.size = pending.item.freeable = record.installedKiB * 1024;
  pending.item.action = adminCommands({{"apt-get", "purge", "-y", record.name}});
  pending.item.warning = "apt-get also removes the packages that depend on " + record.name + ".";
  pending.item.restoreHint = "Install it again with apt install " + record.name;
  return pending;
}

// Removed packages whose configuration files are still there (dpkg state "rc"): their
// owner is certainly gone.
void addRemovedPackages(const std::vector<PackageRecord>& records, const Places& places, Gathered& gathered) {
  for (const auto& record : records) {
    if (record.status != "rc") continue;
    ItemToMeasure pending;
    pending.item.id = "deb-rc/" + record.name;
    pending.item.name = record.name;
    pending.item.detail = "removed package \u00b7 its configuration files are left";
    pending.item.selected = true;
    pending.item.action = adminCommands({{"apt-get", "purge", "-y", record.name}});
    for (const auto& file : record.conffiles) {
      if (pathExists(places.system(file))) pending.measured.push_back(places.system(file));
    }
    if (pending.measured.empty()) pending.item.size = pending.item.freeable = 0;
    gathered.leftovers.push_back(std::move(pending));
  }
}

void gatherDebian(const UninstallerTable::Debian& table, const Places& places, Gathered& gathered) {
  const auto dpkg = Shell::which("dpkg", gathered.context);
  const auto query = Shell::which("dpkg-query", gathered.context);
  if (!dpkg || !query) {
    gathered.unchecked.push_back("Debian packages (dpkg isn't installed)");
    return;
  }
  const auto records = packageRecords(*query, gathered.context);
  const auto entries = menuEntries(table, places);
  std::vector<std::string> paths;
  for (const auto& entry : entries) paths.push_back(entry.systemPath);
  const auto owners = records ? packageOwners(*dpkg, paths, gathered.context) : std::nullopt;
  if (!records || !owners) {
    gathered.unchecked.push_back("Debian packages (dpkg couldn't list them)");
    return;
  }
  std::map<std::string, const PackageRecord*> byName;
  for (const auto& record : *records) byName.emplace(record.name, &record);

  std::vector<ItemToMeasure> items;
  std::set<std::string> offered;
  for (const auto& entry : entries) {
    const auto owner = owners->find(entry.systemPath);
    if (owner == owners->end()) continue;
    for (const auto& name : owner->second) {
      const auto record = byName.find(name);
      if (record == byName.end() || record->second->status != "ii" || record->second->isBaseSystem()) continue;
      if (!offered.insert(name).second) continue;
      const std::string title = entry.entry.name.empty() ? name : entry.entry.name;
      items.push_back(packageItem(*record->second, title));
      addDataFolder(places, items, joinPath(places.expand(table.settings), name), title,
                    "settings that apt-get leaves");
    }
  }
  addGroup(gathered, groupOf("debian", "Debian Packages",
                             "Apps in your menu installed with apt; removed with "
                             "apt-get purge",
                             "archivebox", measuredItems(std::move(items))));
  addRemovedPackages(*records, places, gathered);
}

// --- AppImages ---

std::vector<std::string> entriesStarting(const std::string& appImage, const std::vector<PathEntry>& entryFiles) {
  std::vector<std::string> found;
  for (const auto& file : entryFiles) {
    if (file.isDir || !file.name.ends_with(".desktop")) continue;
    const auto entry = readDesktopEntry(file.path);
    if (!entry) continue;
    if (entry->exec.find(appImage) != std::string::npos || entry->tryExec.find(appImage) != std::string::npos) {
      found.push_back(file.path);
    }
  }
  return found;
}

void gatherAppImages(const UninstallerTable::AppImages& table, const Places& places, Gathered& gathered) {
  const auto entryFiles = entriesByName(places.expand(table.entryFolder));
  std::vector<ItemToMeasure> items;
  std::set<std::string> seen;
  for (const auto& folder : table.folders) {
    for (const auto& file : entriesByName(places.expand(folder))) {
      if (file.isDir || pathExtension(file.name) != "appimage" || !isRegularFile(file.path)) continue;
      if (!seen.insert(file.path).second) continue;
      std::vector<std::string> paths{file.path};
      const auto entries = entriesStarting(file.path, entryFiles);
      paths.insert(paths.end(), entries.begin(), entries.end());
      std::string name = file.name.substr(0, file.name.size() - std::string_view(".appimage").size());
      std::string detail = places.tilde(parentPath(file.path)) + (entries.empty() ? "" : " \u00b7 with its menu entry");
      items.push_back(trashItem(std::move(paths), std::move(name), std::move(detail)));
    }
  }
  addGroup(gathered, groupOf("appimages", "AppImages", "Moved to the Trash with their menu entries", "app",
                             measuredItems(std::move(items))));
}

// --- macOS app bundles ---

void gatherBundles(const UninstallerTable::Bundles& table, const Places& places, Gathered& gathered) {
  std::set<std::string> identifiers;
  std::vector<ItemToMeasure> items;
  for (const auto& folder : table.folders) {
    for (const auto& bundle : entriesByName(places.expand(folder))) {
      if (!bundle.isDir || !bundle.name.ends_with(".app")) continue;
      const BundleInfo info = readBundleInfo(bundle.path);
      // Apple's own apps are part of the system.
      if (info.identifier.starts_with("com.apple.")) continue;
      std::vector<std::string> paths{bundle.path};
      if (!info.identifier.empty()) {
        identifiers.insert(info.identifier);
        for (std::string pattern : table.libraryFolders) {
          pattern.replace(pattern.find("{id}"), 4, info.identifier);
          if (const auto path = places.expand(pattern); pathExists(path)) paths.push_back(path);
        }
      }
      std::string detail = places.tilde(bundle.path);
      if (!info.identifier.empty()) detail += " \u00b7 " + info.identifier;
      if (paths.size() > 1) detail += " \u00b7 with " + std::to_string(paths.size() - 1) + " Library items";
      items.push_back(trashItem(std::move(paths), info.name, std::move(detail)));
    }
  }
  addGroup(gathered, groupOf("bundles", "Applications", "Moved to the Trash with their Library folders", "app.badge",
                             measuredItems(std::move(items))));
  // An app may live anywhere, so a folder without a known app is never ticked.
  for (const auto& [folder, suffix] : table.leftoverFolders) {
    for (const auto& entry : entriesByName(places.expand(folder))) {
      if (!entry.name.ends_with(suffix)) continue;
      const std::string identifier = entry.name.substr(0, entry.name.size() - suffix.size());
      if (identifier.starts_with("com.apple.") || identifier.find('.') == std::string::npos ||
          identifiers.contains(identifier)) {
        continue;
      }
      addLeftover(gathered, entry.path, identifier, false, "", "no app with this identifier in Applications");
    }
  }
}

}  // namespace

ProviderResult Uninstaller::scan(const UninstallerTable& table, const Context& context, const std::string& root) {
  const Places places = Places::make(context, root);
  Gathered gathered{context, places, {}, {}, {}};
  if (table.flatpak && !context.stopRequested()) gatherFlatpak(*table.flatpak, places, gathered);
  if (table.snap && !context.stopRequested()) gatherSnaps(*table.snap, places, gathered);
  if (table.appImages && !context.stopRequested()) gatherAppImages(*table.appImages, places, gathered);
  if (table.debian && !context.stopRequested()) gatherDebian(*table.debian, places, gathered);
  if (table.bundles && !context.stopRequested()) gatherBundles(*table.bundles, places, gathered);
  if (context.stopRequested()) return {};
  addGroup(gathered, groupOf("leftovers", "Leftovers of Removed Apps",
                             "Data and settings of apps that are gone; ticked where the app certainly is gone",
                             "trash.slash", measuredItems(std::move(gathered.leftovers))));
  sortByTotal(gathered.groups);
  const bool found = !gathered.groups.empty();
  return {std::move(gathered.groups), scanNote(found, "No apps found.", gathered.unchecked)};
}

ProviderResult Uninstaller::load(const Context& context) {
  return scan(platformUninstallerTable(), context, systemRoot(context.env));
}

}  // namespace tw
