#include "screens/large_files.h"

#include <sys/stat.h>

#include <algorithm>

#include "core/format.h"
#include "core/measure.h"
#include "core/settings.h"
#include "core/text.h"
#include "fs/path.h"
#include "fs/stat_times.h"
#include "fs/usage.h"
#include "lens/disk_scanner.h"
#include "screens/places.h"
#include "screens/projects.h"
#include "screens/registry.h"
#include "screens/screen_order.h"

namespace tw {
namespace {

constexpr auto day = std::chrono::hours{24};
constexpr const char* restoreHint = "Put it back from the Trash";

// The groups, in the order a file is offered to them: each file shows up once, in the
// first group that wants it.
enum class Kind { installer, build, screenshot, mail, download, big };

struct Candidate {
  std::string path;
  std::int64_t size = 0;
  std::int64_t freeable = 0;
  std::vector<Kind> kinds;  // the groups that may take it, in order
};

// The table's places made absolute once.
struct Layout {
  Places places;
  std::set<std::string> skip;
  std::string downloads;
  std::set<std::string> screenshotFolders;
  std::vector<std::string> mailDownloads;
};

bool isUnder(const std::string& path, const std::string& folder) {
  return !folder.empty() && path.size() > folder.size() && path.starts_with(folder) && path[folder.size()] == '/';
}

Layout layoutOf(const LargeFilesTable& table, Places places) {
  Layout layout{std::move(places), {}, {}, {}, {}};
  const Places& at = layout.places;
  for (const auto& place : table.ownedPlaces) {
    if (auto path = at.expand(place); !path.empty()) layout.skip.insert(standardizePath(path));
  }
  layout.downloads = at.expand(table.downloads);
  for (const auto& folder : table.screenshotFolders) {
    if (auto path = at.expand(folder); !path.empty()) layout.screenshotFolders.insert(standardizePath(path));
  }
  for (const auto& folder : table.mailDownloads) {
    if (auto path = at.expand(folder); !path.empty()) layout.mailDownloads.push_back(standardizePath(path));
  }
  return layout;
}

bool ownedFolder(const LargeFilesTable& table, std::string_view name) {
  if (table.ownedFolderNames.contains(std::string(name))) return true;
  return std::any_of(table.ownedFolderPrefixes.begin(), table.ownedFolderPrefixes.end(),
                     [&](const std::string& prefix) { return name.starts_with(prefix); });
}

bool looksLikeScreenshot(const LargeFilesTable& table, const std::string& name) {
  const std::string lower = lowercased(name);
  return std::any_of(table.screenshotPrefixes.begin(), table.screenshotPrefixes.end(),
                     [&](const std::string& prefix) { return lower.starts_with(prefix); });
}

// The groups a file may go to, before its dates are known.
std::vector<Kind> kindsOf(const LargeFilesTable& table, const Layout& layout, const std::string& path,
                          const std::string& name, std::int64_t size) {
  std::vector<Kind> kinds;
  const std::string extension = pathExtension(name);
  if (table.ownedExtensions.contains(extension)) return kinds;
  const bool inDownloads = isUnder(path, layout.downloads);
  if (inDownloads && table.installerExtensions.contains(extension)) kinds.push_back(Kind::installer);
  if (table.buildExtensions.contains(extension)) kinds.push_back(Kind::build);
  if (layout.screenshotFolders.contains(parentPath(path)) && looksLikeScreenshot(table, name)) {
    kinds.push_back(Kind::screenshot);
  }
  if (std::any_of(layout.mailDownloads.begin(), layout.mailDownloads.end(),
                  [&](const std::string& folder) { return isUnder(path, folder); })) {
    kinds.push_back(Kind::mail);
  }
  if (inDownloads) kinds.push_back(Kind::download);
  if (size >= LargeFiles::bigFileBytes) kinds.push_back(Kind::big);
  return kinds;
}

// Every file of the tree that some group may want. The tree holds only files of 1 MiB or
// more, so this visits few nodes.
void collect(const LargeFilesTable& table, const Layout& layout, const FSNode& root, std::vector<Candidate>& found,
             const std::stop_token& stop) {
  std::vector<std::pair<const FSNode*, std::string>> stack{{&root, root.name}};
  while (!stack.empty() && !stop.stop_requested()) {
    const auto [folder, folderPath] = std::move(stack.back());
    stack.pop_back();
    for (const auto& child : folder->children) {
      std::string path = joinPath(folderPath, child->name);
      if (child->isDir) {
        if (!ownedFolder(table, child->name)) stack.emplace_back(child.get(), std::move(path));
        continue;
      }
      auto kinds = kindsOf(table, layout, path, child->name, child->size);
      if (!kinds.empty()) found.push_back({std::move(path), child->size, child->freeable, std::move(kinds)});
    }
  }
}

// Files inside a project's rebuildable folders (node_modules, target, ...) belong to the
// Projects screen. Only folders that a rule names are checked, each once.
class ArtifactFolders {
 public:
  bool holds(const std::string& path, const std::string& walkRoot) {
    std::size_t slash = walkRoot.size();
    while ((slash = path.find('/', slash + 1)) != std::string::npos) {
      const std::string folder = path.substr(0, slash);
      if (Projects::anyRuleNames(lastPathComponent(folder)) && isArtifact(folder)) return true;
    }
    return false;
  }

 private:
  bool isArtifact(const std::string& folder) {
    if (const auto known = known_.find(folder); known != known_.end()) return known->second;
    Projects::Names siblings;
    if (const auto entries = listFolder(parentPath(folder))) {
      for (const auto& entry : *entries) siblings.insert(entry.name);
    }
    const bool artifact = Projects::match(lastPathComponent(folder), siblings, folder) != nullptr;
    known_.emplace(folder, artifact);
    return artifact;
  }

  std::map<std::string, bool> known_;
};

// The walks: the home folder, and each project root on another file system (the home
// walk stays on its own). A root inside another walked root on its file system is
// covered by that walk.
std::vector<std::string> walkRoots(const std::string& home, const std::vector<std::string>& projectRoots) {
  std::vector<std::pair<std::string, dev_t>> roots;
  struct stat info {};
  if (::stat(home.c_str(), &info) != 0) return {};
  roots.emplace_back(home, info.st_dev);
  for (const auto& root : projectRoots) {
    const std::string path = standardizePath(root);
    if (::stat(path.c_str(), &info) != 0 || !S_ISDIR(info.st_mode) || info.st_dev == roots.front().second) continue;
    const bool covered = std::any_of(roots.begin(), roots.end(), [&](const auto& walked) {
      return walked.second == info.st_dev && (path == walked.first || isUnder(path, walked.first));
    });
    if (!covered) roots.emplace_back(path, info.st_dev);
  }
  std::vector<std::string> paths;
  for (auto& root : roots) paths.push_back(std::move(root.first));
  return paths;
}

struct Dates {
  std::optional<Date> modified;
  std::optional<Date> used;  // absent where the volume does not record it
  bool linked = false;       // other names share the data, so trashing frees nothing
};

Dates datesOf(const std::string& path) {
  struct stat info {};
  if (::lstat(path.c_str(), &info) != 0 || !S_ISREG(info.st_mode)) return {};
  const auto modified =
      Date{std::chrono::duration_cast<Date::duration>(std::chrono::nanoseconds{modifiedNanoseconds(info)})};
  return {modified, lastUsed(path), info.st_nlink > 1};
}

// The newest of the dates we know: what "untouched since" means.
std::optional<Date> touched(const Dates& dates) {
  if (!dates.modified) return std::nullopt;
  return dates.used ? std::max(*dates.modified, *dates.used) : *dates.modified;
}

bool olderThan(const std::optional<Date>& date, int days, Date now) { return date && now - *date >= days * day; }

// The first group that takes the file once its dates are known, if any.
std::optional<Kind> settle(const Candidate& candidate, const Dates& dates, Date now) {
  for (const Kind kind : candidate.kinds) {
    switch (kind) {
      case Kind::screenshot:
        if (olderThan(dates.modified, LargeFiles::oldScreenshotDays, now)) return kind;
        break;
      case Kind::download:
        if (olderThan(touched(dates), LargeFiles::oldDownloadDays, now)) return kind;
        break;
      default:
        return kind;
    }
  }
  return std::nullopt;
}

DevItem itemFor(const Places& places, const Candidate& candidate, Kind kind, const Dates& dates, Date now) {
  DevItem item;
  item.id = candidate.path;
  item.name = lastPathComponent(candidate.path);
  item.detail = places.tilde(parentPath(candidate.path));
  if (dates.modified) item.detail += " \u00b7 modified " + ago(*dates.modified, now);
  if (dates.used) item.detail += " \u00b7 last opened " + ago(*dates.used, now);
  item.size = candidate.size;
  item.freeable = dates.linked ? 0 : candidate.freeable;
  if (dates.linked) item.badges.push_back({"hard-linked", Badge::Tone::info});
  // Only installers and disk images nobody has touched for months are safe to suggest:
  // they were installed long ago. A file whose dates cannot be read is never suggested.
  if (kind == Kind::installer && olderThan(touched(dates), LargeFiles::oldDownloadDays, now)) {
    item.selected = true;
    item.badges.push_back({"untouched 90+ days", Badge::Tone::warn});
  }
  item.action = DevAction::trash({candidate.path});
  item.revealPath = candidate.path;
  item.restoreHint = restoreHint;
  return item;
}

struct GroupText {
  Kind kind;
  const char* id;
  const char* title;
  const char* subtitle;
  const char* icon;
};

constexpr GroupText groupTexts[] = {
    {Kind::installer, "installers", "Installers & Disk Images",
     "In Downloads \u00b7 the ones untouched for 90+ days are ticked", "opticaldiscdrive"},
    {Kind::build, "builds", "App Builds", "Android and iOS packages", "app.badge"},
    {Kind::screenshot, "screenshots", "Screenshots & Recordings", "Older than 30 days", "camera.viewfinder"},
    {Kind::mail, "mail", "Mail Downloads", "Attachments your mail app saved", "paperclip"},
    {Kind::download, "downloads", "Old Downloads", "Untouched for 90+ days", "arrow.down.circle"},
    {Kind::big, "big", "Big Files", "500 MB or more", "doc"},
};

std::vector<DevGroupPtr> groupsOf(std::map<Kind, std::vector<DevItem>> byKind) {
  std::vector<DevGroupPtr> groups;
  for (const auto& text : groupTexts) {
    auto& items = byKind[text.kind];
    if (items.empty()) continue;
    sortByFreeable(items);
    auto group = std::make_shared<DevGroup>(text.id, text.title, text.subtitle, text.icon);
    group->setItems(std::move(items));
    groups.push_back(std::move(group));
  }
  sortByTotal(groups);
  return groups;
}

}  // namespace

ProviderResult LargeFiles::scan(const LargeFilesTable& table, const Context& context,
                                const std::vector<std::string>& projectRoots, Date now) {
  const std::stop_token& stop = context.stop;
  const Layout layout = layoutOf(table, Places::make(context));
  std::vector<Candidate> candidates;
  ArtifactFolders artifacts;
  for (const auto& root : walkRoots(context.home, projectRoots)) {
    DiskScanner scanner(layout.skip);
    scanner.stayOnFileSystem();
    const auto tree = scanner.scan(root, stop);
    if (stop.stop_requested()) return {};
    std::vector<Candidate> found;
    collect(table, layout, *tree, found, stop);
    for (auto& candidate : found) {
      if (!artifacts.holds(candidate.path, root)) candidates.push_back(std::move(candidate));
    }
  }

  std::map<Kind, std::vector<DevItem>> byKind;
  for (const auto& candidate : candidates) {
    const Dates dates = datesOf(candidate.path);
    if (const auto kind = settle(candidate, dates, now))
      byKind[*kind].push_back(itemFor(layout.places, candidate, *kind, dates, now));
  }
  auto groups = groupsOf(std::move(byKind));
  if (groups.empty()) return {{}, "No large or old files in your home folder."};
  return {std::move(groups), std::nullopt};
}

ProviderResult LargeFiles::load(const Context& context) {
  return scan(platformLargeFilesTable(), context, DevSettings::projectRoots(context), std::chrono::system_clock::now());
}

}  // namespace tw
