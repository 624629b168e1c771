#include "screens/hf_cache.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <map>

#include "core/concurrent.h"
#include "core/measure.h"
#include "core/text.h"
#include "fs/file_io.h"
#include "fs/path.h"
#include "fs/regular_file.h"
#include "fs/usage.h"
#include "screens/model_files.h"

namespace tw {

// One repository as read on its own, before links are matched across the cache.
struct HfCache::RepoReading {
  Repo repo;
  std::map<std::string, Usage> parts;  // the folder, its refs, snapshots and anything else: what they take
  std::string blobFolder;              // where its blobs folder really is
  std::vector<Blob> blobs;
  std::vector<Revision> revisions;
  std::vector<std::vector<std::string>> targets;  // per revision: where its links lead
};

namespace {

constexpr int deepestFolder = 32;  // snapshots and refs are shallow; stop at something absurd
constexpr std::size_t longestRef = 4096;

struct RepoKind {
  const char* prefix;
  const char* type;
};
constexpr RepoKind repoKinds[] = {{"models--", "model"}, {"datasets--", "dataset"}, {"spaces--", "space"}};

std::optional<HfCache::Repo> repoNamed(const std::string& hub, const std::string& name) {
  for (const auto& kind : repoKinds) {
    const std::string_view prefix(kind.prefix);
    if (!name.starts_with(prefix) || name.size() == prefix.size()) continue;
    std::string id = name.substr(prefix.size());
    for (std::size_t at = id.find("--"); at != std::string::npos; at = id.find("--", at + 1)) id.replace(at, 2, "/");
    HfCache::Repo repo;
    repo.path = joinPath(hub, name);
    repo.type = kind.type;
    repo.id = validUtf8(id);
    return repo;
  }
  return std::nullopt;
}

// Every file below `folder` (links included, never followed), with its path relative to it.
void collectFiles(const std::string& folder, const std::string& relative, int depth,
                  std::vector<std::pair<std::string, FolderEntry>>& files) {
  if (depth > deepestFolder) return;
  const auto entries = listFolder(folder);
  if (!entries) return;
  for (const auto& entry : *entries) {
    const std::string path = relative.empty() ? entry.name : relative + "/" + entry.name;
    if (entry.isDir) {
      collectFiles(joinPath(folder, entry.name), path, depth + 1, files);
    } else {
      files.emplace_back(path, entry);
    }
  }
}

std::int64_t freeableOf(const FolderEntry& entry) { return entry.links < 2 ? entry.privateSize : 0; }

// Where a link leads, read without following anything: its target joined to the link's
// folder, "." and ".." resolved by name. Nothing for a file that is no link.
std::optional<std::string> linkDestination(const std::string& link) {
  std::array<char, 4096> buffer{};
  const ssize_t length = ::readlink(link.c_str(), buffer.data(), buffer.size());
  if (length <= 0 || static_cast<std::size_t>(length) == buffer.size()) return std::nullopt;
  const std::string target(buffer.data(), static_cast<std::size_t>(length));
  return standardizePath(target.starts_with('/') ? target : joinPath(parentPath(link), target));
}

std::vector<HfCache::Blob> readBlobs(const std::string& folder) {
  std::vector<HfCache::Blob> blobs;
  const auto entries = listFolder(folder);
  if (!entries) return blobs;
  for (const auto& entry : *entries) {
    if (entry.isDir) continue;
    HfCache::Blob blob;
    blob.path = joinPath(folder, entry.name);
    blob.incomplete = entry.name.ends_with(".incomplete");
    blob.size = entry.size;
    blob.freeable = freeableOf(entry);
    blob.used = lastUsed(blob.path);
    if (blob.incomplete) blob.modified = modificationDate(blob.path);
    blobs.push_back(std::move(blob));
  }
  return blobs;
}

// commit -> the names of the refs that point at it.
std::map<std::string, std::vector<std::string>> readRefs(const std::string& repoPath, Usage& taken) {
  std::map<std::string, std::vector<std::string>> refs;
  const std::string folder = repoPath + "/refs";
  std::vector<std::pair<std::string, FolderEntry>> files;
  collectFiles(folder, "", 0, files);
  for (const auto& [name, entry] : files) {
    taken.size += entry.size;
    taken.freeable += freeableOf(entry);
    const auto contents = readRegularFile(joinPath(folder, name), longestRef);
    if (!contents) continue;
    const std::string commit = trimmed(*contents);
    if (!commit.empty()) refs[commit].push_back(validUtf8(name));
  }
  return refs;
}

// Where the links of one snapshot lead (regular files lead nowhere), and what the snapshot
// folder itself takes.
std::vector<std::string> readSnapshot(HfCache::Revision& revision) {
  std::vector<std::string> targets;
  std::vector<std::pair<std::string, FolderEntry>> files;
  collectFiles(revision.path, "", 0, files);
  for (const auto& [file, entry] : files) {
    revision.size += entry.size;
    revision.freeable += freeableOf(entry);
    if (auto target = linkDestination(joinPath(revision.path, file))) targets.push_back(std::move(*target));
  }
  return targets;
}

// What a repository folder and its parts take, from what was read already: its own blobs
// (when the blobs folder is a folder in it, not a link to a shared store), refs and
// snapshots; anything else in it (".no_exist", stray files) is measured.
std::map<std::string, Usage> folderParts(const std::string& repoPath, const std::vector<FolderEntry>& entries,
                                         const std::vector<HfCache::Blob>& blobs, Usage refs, Usage snapshots) {
  std::map<std::string, Usage> parts{
      {repoPath + "/refs", refs}, {repoPath + "/snapshots", snapshots}, {repoPath + "/.no_exist", {}}};
  Usage whole{refs.size + snapshots.size, refs.freeable + snapshots.freeable};
  for (const auto& entry : entries) {
    const std::string path = joinPath(repoPath, entry.name);
    if (entry.isDir && (entry.name == "refs" || entry.name == "snapshots")) continue;
    if (entry.isDir && entry.name == "blobs") {
      for (const auto& blob : blobs) {
        whole.size += blob.size;
        whole.freeable += blob.freeable;
      }
      continue;
    }
    Usage part{entry.size, freeableOf(entry)};
    if (entry.isDir) part = usageOf(path);
    parts[path] = part;
    whole.size += part.size;
    whole.freeable += part.freeable;
  }
  parts[repoPath] = whole;
  return parts;
}

}  // namespace

HfCache::RepoReading HfCache::readRepo(Repo repo) {
  RepoReading reading;
  const auto top = listFolder(repo.path).value_or(std::vector<FolderEntry>{});
  for (const auto& entry : top) {
    if (entry.name != "blobs") continue;
    // The folder may be a link to a store that other repositories share: list where it leads.
    reading.blobFolder = entry.isDir ? repo.path + "/blobs" : resolvedPath(repo.path + "/blobs").value_or("");
  }
  if (!reading.blobFolder.empty()) reading.blobs = readBlobs(reading.blobFolder);
  Usage refsTaken;
  auto refs = readRefs(repo.path, refsTaken);
  Usage snapshotsTaken;
  const std::string snapshots = repo.path + "/snapshots";
  if (const auto entries = listFolder(snapshots)) {
    for (const auto& entry : *entries) {
      if (!entry.isDir) {
        snapshotsTaken.size += entry.size;
        snapshotsTaken.freeable += freeableOf(entry);
        continue;
      }
      Revision revision;
      revision.commit = entry.name;
      revision.path = joinPath(snapshots, entry.name);
      if (const auto found = refs.find(entry.name); found != refs.end()) revision.refs = found->second;
      reading.targets.push_back(readSnapshot(revision));
      snapshotsTaken.size += revision.size;
      snapshotsTaken.freeable += revision.freeable;
      reading.revisions.push_back(std::move(revision));
    }
  }
  reading.parts = folderParts(repo.path, top, reading.blobs, refsTaken, snapshotsTaken);
  reading.repo = std::move(repo);
  return reading;
}

namespace {

std::optional<Date> newer(const std::optional<Date>& a, const std::optional<Date>& b) {
  if (!a) return b;
  if (!b) return a;
  return std::max(*a, *b);
}

}  // namespace

HfCache HfCache::read(const std::string& hub, std::stop_token stop) {
  HfCache cache;
  cache.hub_ = hub;
  const auto entries = listFolder(hub);
  if (!entries) return cache;
  std::vector<Repo> found;
  for (const auto& entry : *entries) {
    if (entry.isDir) {
      if (auto repo = repoNamed(hub, entry.name)) found.push_back(std::move(*repo));
    }
  }
  std::sort(found.begin(), found.end(), [](const Repo& a, const Repo& b) { return a.path < b.path; });
  std::vector<RepoReading> readings(found.size());
  concurrentPerform(found.size(), [&](std::size_t index) {
    if (!stop.stop_requested()) readings[index] = readRepo(std::move(found[index]));
  });
  std::vector<std::vector<std::string>> targets;  // per revision, in the order they are added
  std::map<std::string, std::size_t> blobAt;
  std::map<std::string, std::string> realBlobFolders;  // as links name them -> where they are
  for (auto& reading : readings) {
    if (reading.repo.path.empty()) continue;  // skipped after a stop request
    for (auto& list : reading.targets) targets.push_back(std::move(list));
    if (!reading.blobFolder.empty()) realBlobFolders.emplace(reading.repo.path + "/blobs", reading.blobFolder);
    cache.add(std::move(reading), blobAt);
  }
  cache.link(targets, blobAt, realBlobFolders);
  return cache;
}

void HfCache::add(RepoReading reading, std::map<std::string, std::size_t>& blobAt) {
  const std::size_t repoIndex = repos_.size();
  taken_.merge(reading.parts);
  Repo repo = std::move(reading.repo);
  for (auto& blob : reading.blobs) {
    // A shared store is listed once per repository that links to it; keep one blob per file.
    const auto [known, added] = blobAt.emplace(blob.path, blobs_.size());
    repo.blobs.push_back(known->second);
    if (!added) continue;
    blob.repo = repoIndex;
    blobs_.push_back(std::move(blob));
  }
  for (auto& revision : reading.revisions) {
    revision.repo = repoIndex;
    repo.revisions.push_back(revisions_.size());
    revisions_.push_back(std::move(revision));
  }
  repos_.push_back(std::move(repo));
}

void HfCache::link(const std::vector<std::vector<std::string>>& targets,
                   const std::map<std::string, std::size_t>& blobAt,
                   const std::map<std::string, std::string>& realBlobFolders) {
  for (std::size_t revision = 0; revision < targets.size(); ++revision) {
    for (const auto& target : targets[revision]) {
      // A link into a blobs folder is matched by name; anything else only after resolving
      // every link on its way (a link that climbs out of the cache, say).
      const auto folder = realBlobFolders.find(parentPath(target));
      const std::string real = folder != realBlobFolders.end() ? joinPath(folder->second, lastPathComponent(target))
                                                               : resolvedPath(target).value_or("");
      const auto found = blobAt.find(real);
      if (found == blobAt.end()) continue;  // outside every blobs folder: not ours to count
      auto& linked = revisions_[revision].blobs;
      if (std::find(linked.begin(), linked.end(), found->second) != linked.end()) continue;
      linked.push_back(found->second);
      blobs_[found->second].revisions.push_back(revision);
    }
  }
}

std::optional<std::size_t> HfCache::repoAt(const std::string& path) const {
  for (std::size_t index = 0; index < repos_.size(); ++index) {
    if (repos_[index].path == path) return index;
  }
  return std::nullopt;
}

std::vector<std::string> HfCache::removalPaths(std::size_t repoIndex, const std::set<std::string>& commits,
                                               bool wholeRepo) const {
  const Repo& repo = repos_.at(repoIndex);
  std::set<std::size_t> chosen;
  for (const std::size_t revision : repo.revisions) {
    if (wholeRepo || commits.contains(revisions_[revision].commit)) chosen.insert(revision);
  }
  const auto linkedOnlyFromChosen = [&](const Blob& blob) {
    return std::all_of(blob.revisions.begin(), blob.revisions.end(),
                       [&](std::size_t revision) { return chosen.contains(revision); });
  };
  const bool linkedFromOutside = std::any_of(repo.blobs.begin(), repo.blobs.end(),
                                             [&](std::size_t blob) { return !linkedOnlyFromChosen(blobs_[blob]); });
  if (wholeRepo && !linkedFromOutside) return {repo.path};

  std::vector<std::string> paths;
  if (wholeRepo) {
    paths = {repo.path + "/snapshots", repo.path + "/refs", repo.path + "/.no_exist"};
  } else {
    for (const std::size_t index : chosen) {
      const Revision& revision = revisions_[index];
      paths.push_back(revision.path);
      for (const auto& ref : revision.refs) paths.push_back(repo.path + "/refs/" + ref);
      paths.push_back(repo.path + "/.no_exist/" + revision.commit);
    }
  }
  for (const std::size_t index : repo.blobs) {
    const Blob& blob = blobs_[index];
    if (blob.repo != repoIndex || !linkedOnlyFromChosen(blob)) continue;
    // A blob nothing links to belongs to no revision: it goes only with the whole repository.
    if (wholeRepo || !blob.revisions.empty()) paths.push_back(blob.path);
  }
  return paths;
}

std::optional<Date> HfCache::lastUsedOf(const std::vector<std::size_t>& revisions) const {
  const std::set<std::size_t> chosen(revisions.begin(), revisions.end());
  std::optional<Date> exclusive;
  std::optional<Date> any;
  for (const std::size_t revision : revisions) {
    for (const std::size_t index : revisions_.at(revision).blobs) {
      const Blob& blob = blobs_[index];
      any = newer(any, blob.used);
      const bool onlyChosen = std::all_of(blob.revisions.begin(), blob.revisions.end(),
                                          [&](std::size_t other) { return chosen.contains(other); });
      if (onlyChosen) exclusive = newer(exclusive, blob.used);
    }
  }
  return exclusive ? exclusive : any;
}

std::optional<Date> HfCache::lastUsedOfRepo(std::size_t repoIndex) const {
  const Repo& repo = repos_.at(repoIndex);
  std::optional<Date> newest;
  for (const std::size_t index : repo.blobs) {
    if (!blobs_[index].incomplete) newest = newer(newest, blobs_[index].used);
  }
  return newest ? newest : lastUsedOf(repo.revisions);
}

}  // namespace tw
