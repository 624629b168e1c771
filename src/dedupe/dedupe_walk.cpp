#include "dedupe/dedupe_walk.h"

#include <sys/stat.h>

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <mutex>
#include <set>
#include <utility>

#include "core/concurrent.h"
#include "core/package_folders.h"
#include "fs/file_identity.h"
#include "fs/file_io.h"
#include "fs/path.h"
#include "fs/root_skips.h"
#include "fs/trash_folder.h"
#include "fs/usage.h"

namespace tw::dedupe {
namespace {

constexpr std::int64_t minimumAllocated = 32'768;
constexpr std::string_view cloneTemporaryPrefix = ".tidewarden-clone-";

// The path with every link and "." or ".." piece resolved, so that one folder reached
// through a link and through its real path is recognised as one.
std::optional<std::string> resolved(const std::string& path) {
  if (path.empty()) return std::nullopt;
  return resolvedPath(standardizePath(path));
}

bool contains(const std::string& outer, const std::string& inner) {
  return outer == "/" || (inner.size() > outer.size() && inner.starts_with(outer) && inner[outer.size()] == '/');
}

struct Folder {
  std::int32_t index = 0;
  std::string path;
  std::uint64_t dev = 0;
};

class Walker {
 public:
  Walker(const std::string& home, std::stop_token stop) : homeLibrary_(joinPath(home, "Library")), stop_(stop) {}

  WalkResult run(const std::vector<WalkRoot>& roots) {
    std::vector<Folder> level;
    for (const auto& root : roots) {
      struct stat info {};
      if (::stat(root.path.c_str(), &info) != 0) continue;
      if (!visited_.insert({info.st_dev, info.st_ino}).second) continue;
      level.push_back({addFolder(root.path), root.path, root.dev});
    }
    while (!level.empty() && !stop_.stop_requested()) {
      next_.clear();
      concurrentPerform(
          level.size(), [&](std::size_t i) { process(level[i]); }, stop_);
      level = std::move(next_);
    }
    return std::move(result_);
  }

 private:
  std::int32_t addFolder(const std::string& path) {
    result_.dirs.push_back(path);
    return static_cast<std::int32_t>(result_.dirs.size() - 1);
  }

  bool skipsFolder(const std::string& parent, const std::string& name, const std::string& path) const {
    if (name == ".git" || isTrashFolder(parent, name)) return true;
    if (isPackageFolder(name)) return true;
    if (path == homeLibrary_) return true;
    return parent == "/" && rootSkipFolders().contains(path);
  }

  static bool isCandidate(const FolderEntry& entry) {
    return entry.size >= minimumAllocated && entry.links == 1 && entry.privateSize == entry.size &&
           !Dedupe::mutableExts().contains(pathExtension(entry.name)) && !entry.name.starts_with(cloneTemporaryPrefix);
  }

  void process(const Folder& folder) {
    const auto entries = listFolder(folder.path);
    if (!entries) return;
    struct Subfolder {
      std::string path;
      FileIdentity id;
    };
    std::vector<Subfolder> subfolders;
    std::vector<Dedupe::Candidate> candidates;
    for (const auto& entry : *entries) {
      if (!entry.isDir) {
        if (isCandidate(entry))
          candidates.push_back({folder.index, entry.name, entry.size, {folder.dev, entry.fileID}});
        continue;
      }
      std::string path = joinPath(folder.path, entry.name);
      if (skipsFolder(folder.path, entry.name, path)) continue;
      struct stat info {};
      // The walk never crosses into another volume.
      if (::lstat(path.c_str(), &info) != 0 || !S_ISDIR(info.st_mode) || info.st_dev != folder.dev) continue;
      subfolders.push_back({std::move(path), {info.st_dev, info.st_ino}});
    }
    std::lock_guard guard(lock_);
    for (auto& subfolder : subfolders) {
      // A folder mounted a second time inside the tree is the same folder: walk it once.
      if (!visited_.insert(subfolder.id).second) continue;
      next_.push_back({addFolder(subfolder.path), std::move(subfolder.path), folder.dev});
    }
    result_.files.insert(result_.files.end(), std::make_move_iterator(candidates.begin()),
                         std::make_move_iterator(candidates.end()));
  }

  const std::string homeLibrary_;
  const std::stop_token stop_;
  std::mutex lock_;  // guards everything below while a level runs
  WalkResult result_;
  std::vector<Folder> next_;
  std::set<FileIdentity> visited_;
};

// One file object reached by two paths (a bind mount, say) is one candidate.
void dropRepeatedFiles(std::vector<Dedupe::Candidate>& files) {
  std::unordered_set<FileIdentity> seen;
  seen.reserve(files.size());
  std::erase_if(files, [&](const Dedupe::Candidate& candidate) { return !seen.insert(candidate.file).second; });
}

}  // namespace

std::vector<WalkRoot> walkRoots(const std::vector<std::string>& roots) {
  std::vector<WalkRoot> existing;
  for (const auto& root : roots) {
    const auto path = resolved(root);
    struct stat info {};
    if (!path || ::stat(path->c_str(), &info) != 0 || !S_ISDIR(info.st_mode)) continue;
    existing.push_back({*path, info.st_dev});
  }
  std::vector<WalkRoot> kept;
  for (const auto& root : existing) {
    const bool inside = std::any_of(existing.begin(), existing.end(), [&](const WalkRoot& other) {
      return other.path != root.path && contains(other.path, root.path);
    });
    const bool repeated =
        std::any_of(kept.begin(), kept.end(), [&](const WalkRoot& other) { return other.path == root.path; });
    if (!inside && !repeated) kept.push_back(root);
  }
  return kept;
}

WalkResult walk(const std::vector<std::string>& roots, const std::string& home, std::stop_token stop) {
  Walker walker(resolved(home).value_or(home), std::move(stop));
  WalkResult result = walker.run(walkRoots(roots));
  dropRepeatedFiles(result.files);
  return result;
}

}  // namespace tw::dedupe
