#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <stop_token>
#include <string>
#include <vector>

#include "core/date.h"
#include "core/measure.h"

namespace tw {

// A Hugging Face hub cache as it is on disk: repositories ("models--org--name",
// "datasets--...", "spaces--..."), the revisions their snapshots hold, and for every blob
// the revisions whose files link to it, counted across the whole cache (a link may point
// into another repository's blobs, and a blobs folder may itself be a link to a store
// that several repositories share).
class HfCache {
 public:
  struct Blob {
    std::string path;         // every link in it resolved
    std::size_t repo = 0;     // whose blobs folder holds it
    bool incomplete = false;  // "<hash>.incomplete": a download that never finished
    std::int64_t size = 0;    // allocated bytes
    std::int64_t freeable = 0;
    std::optional<Date> used;
    std::optional<Date> modified;        // read for unfinished downloads only
    std::vector<std::size_t> revisions;  // the revisions that link to it
  };
  struct Revision {
    std::size_t repo = 0;
    std::string commit;
    std::string path;                // snapshots/<commit>
    std::vector<std::string> refs;   // the refs naming it ("main", "pr/1"); none: detached
    std::vector<std::size_t> blobs;  // the distinct blobs its files link to
    std::int64_t size = 0;           // of the snapshot folder itself: its links and any plain files
    std::int64_t freeable = 0;
  };
  struct Repo {
    std::string path;
    std::string type;  // "model", "dataset" or "space"
    std::string id;    // "org/name"
    std::vector<std::size_t> revisions;
    std::vector<std::size_t> blobs;  // the files of its own blobs folder
  };

  // Reads the cache at `hub`; an unreadable part contributes nothing.
  [[nodiscard]] static HfCache read(const std::string& hub, std::stop_token stop = {});

  [[nodiscard]] const std::string& hub() const { return hub_; }
  [[nodiscard]] const std::vector<Repo>& repos() const { return repos_; }
  [[nodiscard]] const std::vector<Revision>& revisions() const { return revisions_; }
  [[nodiscard]] const std::vector<Blob>& blobs() const { return blobs_; }
  [[nodiscard]] std::optional<std::size_t> repoAt(const std::string& path) const;
  // What each repository folder and its refs, snapshots and other parts take, measured
  // from the same listings that were read (blobs and revisions carry their own).
  [[nodiscard]] const std::map<std::string, Usage>& taken() const { return taken_; }

  // What removing revisions of one repository deletes so that no other revision loses a
  // file: the whole repository folder when `wholeRepo` and nothing outside it links into
  // it; otherwise the revisions' snapshot folders (all of them, with `wholeRepo`), the
  // refs naming them, and the blobs of the repository that no other revision links to
  // (with `wholeRepo`, also those that nothing links to). Blobs in another repository's
  // folder are never touched.
  [[nodiscard]] std::vector<std::string> removalPaths(std::size_t repo, const std::set<std::string>& commits,
                                                      bool wholeRepo) const;

  // The newest use of the blobs only these revisions link to; of all their blobs when
  // they share every one.
  [[nodiscard]] std::optional<Date> lastUsedOf(const std::vector<std::size_t>& revisions) const;
  [[nodiscard]] std::optional<Date> lastUsedOfRepo(std::size_t repo) const;

  // How the hub's own tool names it: "model/org/name".
  [[nodiscard]] static std::string target(const Repo& repo) { return repo.type + "/" + repo.id; }

 private:
  struct RepoReading;
  [[nodiscard]] static RepoReading readRepo(Repo repo);

  void add(RepoReading reading, std::map<std::string, std::size_t>& blobAt);
  void link(const std::vector<std::vector<std::string>>& targets, const std::map<std::string, std::size_t>& blobAt,
            const std::map<std::string, std::string>& realBlobFolders);

  std::string hub_;
  std::vector<Repo> repos_;
  std::vector<Revision> revisions_;
  std::vector<Blob> blobs_;
  std::map<std::string, Usage> taken_;
};

}  // namespace tw
