#include "junk/junk_finders.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <optional>

#include "fs/file_io.h"
#include "fs/path.h"
#include "fs/usage.h"

namespace tw {
namespace {

// The Finder's folder-view settings, never anything an app would rebuild.
constexpr const char* folderViewSettings = ".DS_Store";

// What `kids` returns, or nothing when the folder cannot be listed (some callers say why).
std::optional<std::vector<std::string>> listedKids(const std::string& folder, const JunkFinders::NameFilter& where) {
  const auto entries = listRootFolder(folder);
  if (!entries) return std::nullopt;
  std::vector<std::string> paths;
  for (const auto& entry : *entries) {
    if (entry.name == folderViewSettings) continue;
    if (where && !where(entry.name)) continue;
    paths.push_back(joinPath(folder, entry.name));
  }
  return paths;
}

void walkForCacheFolders(const std::string& folder, int depth, const std::set<std::string>& names, int maxDepth,
                         const std::stop_token& stop, std::vector<std::string>& found) {
  if (depth > maxDepth || stop.stop_requested()) return;
  const auto entries = depth == 1 ? listRootFolder(folder) : listFolder(folder);  // the walk starts at 1
  if (!entries) return;
  for (const auto& entry : *entries) {
    if (!entry.isDir) continue;
    const std::string path = joinPath(folder, entry.name);
    if (names.contains(entry.name)) {
      found.push_back(path);
    } else {
      walkForCacheFolders(path, depth + 1, names, maxDepth, stop, found);
    }
  }
}

std::string withFolder(std::string note, const std::string& folder) {
  const std::string placeholder = "{folder}";
  if (const auto at = note.find(placeholder); at != std::string::npos) note.replace(at, placeholder.size(), folder);
  return note;
}

void findEntries(const JunkSource& source, const JunkRoots& roots, JunkFinding& finding) {
  const std::string folder = roots.expand(source.paths.front());
  const auto accepts = [&](const std::string& name) {
    if (source.exceptNames.contains(name)) return false;
    return source.extensions.empty() || source.extensions.contains(pathExtension(name));
  };
  auto paths = listedKids(folder, accepts);
  if (!paths) {
    if (source.unreadableNote && !(source.missingIsEmpty && !pathExists(folder))) {
      finding.note = withFolder(*source.unreadableNote, roots.tilde(folder));
    }
    return;
  }
  for (auto& path : *paths) finding.paths.push_back(std::move(path));
}

// The name a link at `path` stands for when it points at a plain name in its own folder.
std::optional<std::string> siblingTarget(const std::string& path) {
  char target[256];
  const ssize_t length = ::readlink(path.c_str(), target, sizeof target);
  if (length <= 0 || static_cast<std::size_t>(length) >= sizeof target) return std::nullopt;
  const std::string name(target, static_cast<std::size_t>(length));
  if (name.find('/') != std::string::npos || name == "." || name == "..") return std::nullopt;
  return name;
}

// `relative` below `folder` with sibling links read as their target; nothing when a part
// is missing, not a folder, or another kind of link.
std::optional<std::string> realFolderBelow(std::string folder, const std::string& relative) {
  std::vector<std::string> parts;
  for (std::size_t start = 0; start <= relative.size();) {
    const std::size_t slash = std::min(relative.find('/', start), relative.size());
    if (slash > start) parts.push_back(relative.substr(start, slash - start));
    start = slash + 1;
  }
  for (const auto& part : parts) {
    std::string path = joinPath(folder, part);
    struct stat info {};
    if (::lstat(path.c_str(), &info) != 0) return std::nullopt;
    if (S_ISLNK(info.st_mode)) {
      const auto target = siblingTarget(path);
      if (!target) return std::nullopt;
      path = joinPath(folder, *target);
      if (::lstat(path.c_str(), &info) != 0) return std::nullopt;
    }
    if (!S_ISDIR(info.st_mode)) return std::nullopt;
    folder = std::move(path);
  }
  return folder;
}

}  // namespace

std::vector<std::string> JunkFinders::insideEach(const std::string& root, const std::vector<std::string>& insidePaths) {
  std::vector<std::string> found;
  const auto entries = listFolder(root);
  if (!entries) return found;
  for (const auto& entry : *entries) {
    if (!entry.isDir) continue;
    const std::string app = joinPath(root, entry.name);
    for (const auto& relative : insidePaths) {
      auto path = realFolderBelow(app, relative);
      if (path && std::find(found.begin(), found.end(), *path) == found.end()) found.push_back(std::move(*path));
    }
  }
  return found;
}

std::vector<std::string> JunkFinders::kids(const std::string& folder, const NameFilter& where) {
  return listedKids(folder, where).value_or(std::vector<std::string>{});
}

std::vector<std::string> JunkFinders::existing(const std::vector<std::string>& paths) {
  std::vector<std::string> found;
  for (const auto& path : paths) {
    if (pathExists(path)) found.push_back(path);
  }
  return found;
}

std::vector<std::string> JunkFinders::cacheFolders(const std::string& root, const std::set<std::string>& names,
                                                   int maxDepth, std::stop_token stop) {
  std::vector<std::string> found;
  walkForCacheFolders(root, 1, names, maxDepth, stop, found);
  return found;
}

JunkFinding JunkFinders::find(const std::vector<JunkSource>& sources, const JunkRoots& roots, std::stop_token stop) {
  JunkFinding finding;
  for (const auto& source : sources) {
    if (stop.stop_requested()) break;
    switch (source.kind) {
      case JunkSource::Kind::entries:
        findEntries(source, roots, finding);
        break;
      case JunkSource::Kind::existing: {
        std::vector<std::string> expanded;
        for (const auto& path : source.paths) expanded.push_back(roots.expand(path));
        for (auto& path : existing(expanded)) finding.paths.push_back(std::move(path));
        break;
      }
      case JunkSource::Kind::cacheFolders:
        for (auto& path : cacheFolders(roots.expand(source.paths.front()), source.folderNames, source.maxDepth, stop)) {
          finding.paths.push_back(std::move(path));
        }
        break;
      case JunkSource::Kind::insideEach:
        for (auto& path : insideEach(roots.expand(source.paths.front()), source.insidePaths)) {
          finding.paths.push_back(std::move(path));
        }
        break;
    }
  }
  return finding;
}

}  // namespace tw
