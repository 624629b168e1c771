#include "screens/system_data.h"

#include <algorithm>
#include <set>

#include "core/format.h"
#include "core/measure.h"
#include "core/shell.h"
#include "fs/file_io.h"
#include "fs/path.h"
#include "lens/disk_scanner.h"
#include "screens/admin_command.h"
#include "screens/flatpak_tool.h"
#include "screens/folder_entries.h"
#include "screens/pending_items.h"
#include "screens/places.h"
#include "screens/registry.h"
#include "screens/screen_order.h"
#include "screens/service_socket.h"
#include "screens/snap_tool.h"
#include "screens/tool_output.h"

namespace tw {
namespace {

constexpr auto day = std::chrono::hours{24};
constexpr double tmutilTimeout = 60;

struct Gathered {
  const Context& context;
  const Places& places;
  Date now;
  std::vector<DevGroupPtr> groups;
  std::vector<std::string> unchecked;  // "snaps (snapd isn't running)"
};

void addGroup(Gathered& gathered, const std::string& id, const std::string& title, const std::string& subtitle,
              const std::string& icon, std::vector<ItemToMeasure> items) {
  if (auto group = groupOf(id, title, subtitle, icon, measuredItems(std::move(items)))) {
    gathered.groups.push_back(std::move(group));
  }
}

// A tool the group needs, or the reason it is left out.
std::optional<std::string> toolFor(Gathered& gathered, const std::string& tool, const std::string& what) {
  auto found = Shell::which(tool, gathered.context);
  if (!found) gathered.unchecked.push_back(what + " (" + tool + " isn't installed)");
  return found;
}

// --- the systemd journal ---

void gatherJournal(const SystemDataTable::Journal& table, Gathered& gathered) {
  const std::string what = "the systemd journal";
  if (!toolFor(gathered, "journalctl", what)) return;
  // journalctl --rotate asks the running service to start new files; without it the
  // active files could not be vacuumed.
  if (!serviceListening(gathered.places.expand(table.socket))) {
    gathered.unchecked.push_back(what + " (systemd-journald isn't running)");
    return;
  }
  std::vector<std::string> folders;
  for (const auto& folder : table.folders) {
    if (const auto path = gathered.places.expand(folder); isFolder(path)) folders.push_back(path);
  }
  const auto usages = measure(std::vector<std::vector<std::string>>{folders});
  const std::int64_t size = usages.front().size;
  if (size == 0) return;  // nothing written yet
  ItemToMeasure pending;
  pending.item.id = "journal";
  pending.item.name = "System journal";
  pending.item.detail = "Logs of every service \u00b7 keeps the newest " + byteFormatter(table.keepBytes);
  pending.item.size = size;
  pending.item.freeable = std::max<std::int64_t>(0, size - table.keepBytes);
  pending.item.action = adminCommands({{"journalctl", "--rotate"}, {"journalctl", "--vacuum-size=" + table.keep}});
  pending.item.revealPath = folders.front();
  addGroup(gathered, "journal", "System Journal", "Old logs, vacuumed by journalctl", "doc.text", {std::move(pending)});
}

// --- apt's downloaded packages ---

void gatherPackageCache(const SystemDataTable::PackageCache& table, Gathered& gathered) {
  if (!toolFor(gathered, "apt-get", "the package cache")) return;
  const std::string archives = gathered.places.expand(table.archives);
  ItemToMeasure pending;
  for (const auto& entry : entriesByName(archives)) {
    if (!entry.isDir && entry.name.ends_with(".deb")) pending.measured.push_back(entry.path);
  }
  if (pending.measured.empty()) return;
  pending.item.id = "apt-cache";
  pending.item.name = "Downloaded packages";
  pending.item.detail = std::to_string(pending.measured.size()) + " packages in " + gathered.places.tilde(archives) +
                        " \u00b7 apt downloads them again when needed";
  pending.item.selected = true;
  pending.item.action = adminCommands({{"apt-get", "clean"}});
  pending.item.revealPath = archives;
  addGroup(gathered, "apt-cache", "Package Cache", "Installed packages as apt downloaded them", "shippingbox",
           {std::move(pending)});
}

// --- snapd's disabled revisions and saved snapshots ---

std::vector<std::string> filesNamed(const std::vector<PathEntry>& files, const std::string& prefix,
                                    const std::string& suffix) {
  std::vector<std::string> found;
  for (const auto& file : files) {
    if (!file.isDir && file.name.starts_with(prefix) && file.name.ends_with(suffix)) found.push_back(file.path);
  }
  return found;
}

void gatherSnapRevisions(const std::string& snap, const SystemDataTable::Snaps& table, Gathered& gathered) {
  const auto revisions = listSnaps(snap, true, gathered.context);
  if (!revisions) {
    gathered.unchecked.push_back("old snap revisions (snap couldn't list them)");
    return;
  }
  const auto files = entriesByName(gathered.places.expand(table.files));
  std::vector<ItemToMeasure> items;
  for (const auto& revision : *revisions) {
    if (!revision.hasNote("disabled")) continue;
    ItemToMeasure pending;
    pending.item.id = "snap-revision/" + revision.name + "/" + revision.revision;
    pending.item.name = revision.name + " revision " + revision.revision;
    pending.item.detail = "snap " + revision.version + " \u00b7 disabled, kept for going back";
    pending.item.selected = true;
    pending.item.action = adminCommands({{"snap", "remove", revision.name, "--revision=" + revision.revision}});
    pending.measured = filesNamed(files, revision.name + "_" + revision.revision + ".snap", "");
    if (pending.measured.empty()) pending.item.size = pending.item.freeable = 0;
    items.push_back(std::move(pending));
  }
  addGroup(gathered, "snap-revisions", "Old Snap Revisions", "Disabled revisions snapd keeps after updates", "cube",
           std::move(items));
}

void gatherSnapSnapshots(const std::string& snap, const SystemDataTable::Snaps& table, Gathered& gathered) {
  const auto snapshots = listSnapSnapshots(snap, gathered.context);
  if (!snapshots) {
    gathered.unchecked.push_back("snap snapshots (snap couldn't list them)");
    return;
  }
  const auto files = entriesByName(gathered.places.expand(table.snapshots));
  std::vector<ItemToMeasure> items;
  for (const auto& snapshot : *snapshots) {
    ItemToMeasure pending;
    pending.item.id = "snap-snapshot/" + snapshot.set + "/" + snapshot.snap;
    pending.item.name = snapshot.snap + " snapshot " + snapshot.set;
    pending.item.detail =
        "saved " + snapshot.age + " ago \u00b7 snap " + snapshot.version + " revision " + snapshot.revision;
    pending.item.action = adminCommands({{"snap", "forget", snapshot.set, snapshot.snap}});
    // snapd's snapshot folder is readable by root only; then snap's own rounded figure says it.
    pending.measured = filesNamed(files, snapshot.set + "_" + snapshot.snap + "_", ".zip");
    if (pending.measured.empty()) pending.item.size = pending.item.freeable = snapshot.size;
    items.push_back(std::move(pending));
  }
  addGroup(gathered, "snap-snapshots", "Snap Snapshots", "Data snapd saved when snaps were removed",
           "clock.arrow.circlepath", std::move(items));
}

void gatherSnaps(const SystemDataTable::Snaps& table, Gathered& gathered) {
  const auto snap = toolFor(gathered, "snap", "snaps");
  if (!snap) return;
  if (!serviceListening(gathered.places.expand(table.socket))) {
    gathered.unchecked.push_back("snaps (snapd isn't running)");
    return;
  }
  gatherSnapRevisions(*snap, table, gathered);
  gatherSnapSnapshots(*snap, table, gathered);
}

// --- flatpak's unused runtimes ---

// The folders of the unused refs: the branch folders flatpak named, else the whole ref.
std::vector<std::string> runtimeFolders(const std::string& installation, const std::vector<FlatpakUnused>& refs) {
  std::vector<std::string> folders;
  for (const auto& ref : refs) {
    const std::string folder = installation + "/runtime/" + ref.id;
    const std::set<std::string> named(ref.words.begin(), ref.words.end());
    std::vector<std::string> branches;
    for (const auto& arch : entriesByName(folder)) {
      for (const auto& branch : entriesByName(arch.path)) {
        if (branch.isDir && named.contains(branch.name)) branches.push_back(branch.path);
      }
    }
    if (branches.empty()) branches.push_back(folder);
    folders.insert(folders.end(), branches.begin(), branches.end());
  }
  return folders;
}

std::optional<ItemToMeasure> unusedRuntimes(const std::string& flatpak, const std::string& installation, bool system,
                                            Gathered& gathered) {
  const auto refs = listUnusedFlatpakRefs(flatpak, system, gathered.context);
  const std::string which = system ? "system" : "user";
  if (!refs) {
    gathered.unchecked.push_back("unused Flatpak runtimes of the " + which +
                                 " installation (flatpak couldn't list them)");
    return std::nullopt;
  }
  if (refs->empty()) return std::nullopt;
  ItemToMeasure pending;
  pending.item.id = "flatpak-unused/" + which;
  pending.item.name = "Unused runtimes (" + which + " installation)";
  for (const auto& ref : *refs) pending.item.detail += (pending.item.detail.empty() ? "" : ", ") + ref.id;
  const std::vector<std::string> command{"flatpak", "uninstall", "--unused", "--" + which, "--noninteractive"};
  if (system) {
    pending.item.action = adminCommands({command});
  } else {
    std::vector<std::string> direct = command;
    direct.front() = flatpak;
    pending.item.action = DevAction::commands({direct});
  }
  pending.measured = runtimeFolders(installation, *refs);
  // Runtime files are hard links into flatpak's object store, which uninstalling prunes.
  pending.freesShared = true;
  return pending;
}

void gatherFlatpakRuntimes(const SystemDataTable::FlatpakRuntimes& table, Gathered& gathered) {
  const auto flatpak = toolFor(gathered, "flatpak", "unused Flatpak runtimes");
  if (!flatpak) return;
  std::vector<ItemToMeasure> items;
  if (auto user = unusedRuntimes(*flatpak, gathered.places.expand(table.userInstallation), false, gathered)) {
    items.push_back(std::move(*user));
  }
  if (auto system = unusedRuntimes(*flatpak, gathered.places.expand(table.systemInstallation), true, gathered)) {
    items.push_back(std::move(*system));
  }
  addGroup(gathered, "flatpak-runtimes", "Unused Flatpak Runtimes", "No installed app needs them any more",
           "square.stack.3d.up", std::move(items));
}

// --- macOS local snapshots ---

void gatherLocalSnapshots(const SystemDataTable::LocalSnapshots& table, Gathered& gathered) {
  const auto tmutil = toolFor(gathered, "tmutil", "local Time Machine snapshots");
  if (!tmutil) return;
  const auto result = Shell::run(*tmutil, {"listlocalsnapshots", table.volume}, tmutilTimeout, gathered.context);
  if (result.code != 0) {
    gathered.unchecked.push_back("local Time Machine snapshots (tmutil couldn't list them)");
    return;
  }
  constexpr std::string_view prefix = "com.apple.TimeMachine.";
  std::vector<ItemToMeasure> items;
  for (const auto& word : words(result.out)) {
    if (!word.starts_with(prefix) || !word.ends_with(".local")) continue;
    const std::string date = word.substr(prefix.size(), word.size() - prefix.size() - 6);
    ItemToMeasure pending;
    pending.item.id = "local-snapshot/" + date;
    pending.item.name = "Snapshot " + date;
    pending.item.detail = "Time Machine keeps it on this disk until space runs low";
    pending.item.action = adminCommands({{"tmutil", "deletelocalsnapshots", date}});
    items.push_back(std::move(pending));
  }
  addGroup(gathered, "local-snapshots", "Local Time Machine Snapshots", "Their size is known only to the system",
           "clock.arrow.circlepath", std::move(items));
}

// --- files found by name ---

ItemToMeasure foundItem(const SystemDataTable::Found& table, const PathEntry& entry, Gathered& gathered) {
  ItemToMeasure pending;
  pending.item.id = entry.path;
  pending.item.name = entry.name;
  pending.item.detail = gathered.places.tilde(parentPath(entry.path));
  const auto modified = modificationDate(entry.path);
  if (modified) pending.item.detail += " \u00b7 " + ago(*modified, gathered.now);
  // A date that cannot be read never ticks anything.
  pending.item.selected = table.tickedAfterDays && modified && gathered.now - *modified >= *table.tickedAfterDays * day;
  if (table.administrator) {
    pending.item.action = adminCommands({{"rm", entry.isDir ? "-rf" : "-f", "--", entry.path}});
  } else {
    pending.item.action = DevAction::trash({entry.path});
    pending.item.restoreHint = "Put it back from the Trash";
  }
  pending.item.revealPath = entry.path;
  pending.measured = {entry.path};
  return pending;
}

void gatherFound(const SystemDataTable::Found& table, Gathered& gathered) {
  std::vector<ItemToMeasure> items;
  for (const auto& folder : table.folders) {
    for (const auto& entry : entriesByName(gathered.places.expand(folder))) {
      if ((table.foldersOnly && !entry.isDir) || (table.filesOnly && entry.isDir)) continue;
      if (!entry.name.starts_with(table.namePrefix) || !entry.name.ends_with(table.nameSuffix)) continue;
      items.push_back(foundItem(table, entry, gathered));
    }
  }
  addGroup(gathered, table.id, table.title, table.subtitle, table.icon, std::move(items));
}

}  // namespace

ProviderResult SystemData::scan(const SystemDataTable& table, const Context& context, const std::string& root,
                                Date now) {
  const Places places = Places::make(context, root);
  Gathered gathered{context, places, now, {}, {}};
  if (table.journal && !context.stopRequested()) gatherJournal(*table.journal, gathered);
  if (table.packageCache && !context.stopRequested()) gatherPackageCache(*table.packageCache, gathered);
  if (table.snaps && !context.stopRequested()) gatherSnaps(*table.snaps, gathered);
  if (table.flatpakRuntimes && !context.stopRequested()) gatherFlatpakRuntimes(*table.flatpakRuntimes, gathered);
  if (table.localSnapshots && !context.stopRequested()) gatherLocalSnapshots(*table.localSnapshots, gathered);
  for (const auto& found : table.found) {
    if (!context.stopRequested()) gatherFound(found, gathered);
  }
  if (context.stopRequested()) return {};
  sortByTotal(gathered.groups);
  const bool found = !gathered.groups.empty();
  return {std::move(gathered.groups), scanNote(found, "Nothing to clean in the system's data.", gathered.unchecked)};
}

ProviderResult SystemData::load(const Context& context) {
  return scan(platformSystemDataTable(), context, systemRoot(context.env), std::chrono::system_clock::now());
}

}  // namespace tw
