// Finding projects and the rebuildable folders inside them. Every folder is read with one
// listing, which also says which entries are folders; symbolic links are never followed
// because the listing never reports a link as a folder.

#include <sys/stat.h>

#include <unordered_set>

#include "core/package_folders.h"
#include "core/text.h"
#include "fs/file_io.h"
#include "fs/path.h"
#include "fs/trash_folder.h"
#include "fs/usage.h"
#include "screens/git_dirs.h"
#include "screens/project_kinds.h"
#include "screens/projects.h"

namespace tw {
namespace {

constexpr int discoveryDepth = 6;  // project folders are looked for this many levels down
constexpr int artifactDepth = 9;   // the walk inside a project descends past this level no further

bool isManifest(const FolderEntry& entry) {
  if (Projects::manifests().contains(entry.name)) return true;
  if (entry.isDir) return false;
  for (const auto& suffix : platformProjectKinds().manifestSuffixes) {
    if (entry.name.size() > suffix.size() && entry.name.ends_with(suffix)) return true;
  }
  return false;
}

bool isProject(const std::vector<FolderEntry>& entries) {
  // A bare repository holds no project files, but it is where its worktrees are kept.
  if (isGitDirectory(entries)) return true;
  for (const auto& entry : entries) {
    if (entry.name == ".git" || isManifest(entry)) return true;
  }
  return false;
}

bool skippedBelowHome(const std::string& folder, const std::string& home) {
  if (home.empty()) return false;
  for (const auto& below : platformProjectKinds().skipBelowHome) {
    if (folder == joinPath(home, below)) return true;
  }
  return false;
}

bool searchedForProjects(const FolderEntry& entry) {
  return entry.isDir && !entry.name.starts_with('.') && !Projects::skip().contains(entry.name) &&
         !isPackageFolder(entry.name);
}

void discoverIn(const std::string& folder, int depth, const std::stop_token& stop, const std::string& home,
                std::vector<std::string>& found, std::unordered_set<std::string>& seen) {
  if (stop.stop_requested() || (depth > 0 && skippedBelowHome(folder, home))) return;
  const auto entries = depth == 0 ? listRootFolder(folder) : listFolder(folder);
  if (!entries) return;
  if (isProject(*entries) && (home.empty() || standardizePath(folder) != home)) {
    if (seen.insert(folder).second) found.push_back(folder);
    return;
  }
  if (depth >= discoveryDepth) return;
  for (const auto& entry : *entries) {
    if (searchedForProjects(entry) && !isTrashFolder(folder, entry.name))
      discoverIn(joinPath(folder, entry.name), depth + 1, stop, home, found, seen);
  }
}

class ArtifactWalk {
 public:
  ArtifactWalk(std::string root, std::stop_token stop) : root_(std::move(root)), stop_(std::move(stop)) {
    found_.push_back({root_, {}});
  }

  std::vector<Projects::Found> run() {
    walk(root_, 0, 0);
    return std::move(found_);
  }

 private:
  void walk(const std::string& folder, int depth, std::size_t project) {
    if (stop_.stop_requested()) return;
    const auto entries = folder == root_ ? listRootFolder(folder) : listFolder(folder);
    if (!entries) return;
    Projects::Names siblings;
    siblings.reserve(entries->size());
    for (const auto& entry : *entries) siblings.insert(entry.name);
    if (folder != root_ && siblings.contains(".git")) {
      // A repository inside the project is a project of its own from here down.
      project = found_.size();
      found_.push_back({folder, {}});
    }
    for (const auto& entry : *entries) {
      if (!entry.isDir || entry.name == ".git" || isTrashFolder(folder, entry.name)) continue;
      std::string path = joinPath(folder, entry.name);
      if (const auto* rule = Projects::match(entry.name, siblings, path)) {
        found_[project].artifacts.push_back({std::move(path), rule->hint});
        continue;
      }
      if (depth > artifactDepth || entry.name == "node_modules" || isPackageFolder(entry.name)) continue;
      walk(path, depth + 1, project);
    }
  }

  std::string root_;
  std::stop_token stop_;
  std::vector<Projects::Found> found_;
};

std::optional<Date> modificationTime(const std::string& path) {
  struct stat info {};
  if (::stat(path.c_str(), &info) != 0) return std::nullopt;
  return dateFromSeconds(static_cast<std::int64_t>(info.st_mtime));
}

}  // namespace

std::vector<std::string> Projects::discover(const std::vector<std::string>& roots, std::stop_token stop,
                                            const std::string& home) {
  std::vector<std::string> found;
  std::unordered_set<std::string> seen;
  const std::string homeFolder = home.empty() ? home : standardizePath(home);
  for (const auto& root : roots) discoverIn(root, 0, stop, homeFolder, found, seen);
  return found;
}

std::vector<Projects::Found> Projects::artifacts(const std::string& root, std::stop_token stop) {
  return ArtifactWalk(root, std::move(stop)).run();
}

std::optional<Date> Projects::lastActive(const std::string& root) {
  // A ".git" file whose "gitdir:" line is missing or leads nowhere is no better than no
  // repository at all: the folder's own time stands in for it.
  if (const auto gitDir = gitDirectoryOf(root)) {
    if (auto date = modificationTime(joinPath(*gitDir, "index"))) return date;
    if (auto date = modificationTime(joinPath(*gitDir, "HEAD"))) return date;
  }
  return modificationTime(root);
}

bool Projects::idle(const std::optional<Date>& date, Date now) { return date && now - *date > staleAge; }

}  // namespace tw
