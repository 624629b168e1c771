#include <algorithm>
#include <set>

#include "core/format.h"
#include "core/measure.h"
#include "fs/path.h"
#include "screens/hf_cache.h"
#include "screens/model_files.h"
#include "screens/model_groups.h"
#include "screens/screen_order.h"

namespace tw {
namespace {

const char* const separator = " \u00b7 ";

// Reads the cache again when it runs, so that whatever changed since the list was made
// (a new revision linking to a blob, say) is counted before anything is deleted. The
// deletions pass the guard of `context` (its home folder and project roots).
DevAction ownRemoval(std::string hub, std::string repoPath, std::set<std::string> commits, bool wholeRepo,
                     const Context& context) {
  return DevAction::custom([=, context = context.withStop({})]() -> std::optional<std::string> {
    const HfCache cache = HfCache::read(hub);
    const auto repo = cache.repoAt(repoPath);
    if (!repo) return std::nullopt;  // already gone
    return DevAction::removePaths(cache.removalPaths(*repo, commits, wholeRepo)).perform(context).error();
  });
}

std::string capitalized(std::string text) {
  if (!text.empty() && text[0] >= 'a' && text[0] <= 'z') text[0] = static_cast<char>(text[0] - 'a' + 'A');
  return text;
}

std::string downloadHint(const HfCache::Repo& repo) {
  std::string hint = "hf download " + repo.id;
  if (repo.type != "model") hint += " --repo-type " + repo.type;
  return hint;
}

class HubItems {
 public:
  HubItems(const HfCache& cache, const std::optional<std::string>& hfTool, Date now, const Context& context)
      : cache_(cache), hfTool_(hfTool), now_(now), context_(context) {}

  [[nodiscard]] const std::optional<Date>& lastActive() const { return lastActive_; }

  std::vector<DevItem> all() {
    // Blobs and snapshot folders were measured as the cache was read; the rest is measured here.
    known_ = cache_.taken();
    for (const auto& blob : cache_.blobs()) known_[blob.path] = {blob.size, blob.freeable};
    for (const auto& revision : cache_.revisions()) known_[revision.path] = {revision.size, revision.freeable};
    std::vector<std::string> unmeasured;
    for (std::size_t repo = 0; repo < cache_.repos().size(); ++repo) {
      plans_.push_back(cache_.removalPaths(repo, {}, true));
      unmeasured.push_back(cache_.repos()[repo].path);
    }
    for (std::size_t index = 0; index < cache_.revisions().size(); ++index) {
      const auto& revision = cache_.revisions()[index];
      if (revision.refs.empty()) revisionPlans_[index] = cache_.removalPaths(revision.repo, {revision.commit}, false);
    }
    for (const auto& plan : plans_) unmeasured.insert(unmeasured.end(), plan.begin(), plan.end());
    for (const auto& [index, plan] : revisionPlans_) unmeasured.insert(unmeasured.end(), plan.begin(), plan.end());
    std::erase_if(unmeasured, [&](const std::string& path) { return known_.contains(path); });
    measured_ = measure(unmeasured, context_.stop);

    std::vector<DevItem> items;
    for (std::size_t repo = 0; repo < cache_.repos().size(); ++repo) items.push_back(repoItem(repo));
    for (const auto& [index, plan] : revisionPlans_) items.push_back(detachedItem(index));
    for (const auto& blob : cache_.blobs()) {
      if (blob.incomplete) items.push_back(incompleteItem(blob));
    }
    return items;
  }

 private:
  [[nodiscard]] Usage usageOf(const std::string& path) const {
    if (const auto found = known_.find(path); found != known_.end()) return found->second;
    if (const auto found = measured_.find(path); found != measured_.end()) return found->second;
    return {};
  }

  [[nodiscard]] std::int64_t freeableOf(const std::vector<std::string>& paths) const {
    std::int64_t total = 0;
    for (const auto& path : paths) total += usageOf(path).freeable;
    return total;
  }

  DevItem repoItem(std::size_t index) {
    const auto& repo = cache_.repos()[index];
    const auto& plan = plans_[index];
    const auto used = cache_.lastUsedOfRepo(index);
    std::vector<std::string> refs;
    for (const std::size_t revision : repo.revisions) {
      for (const auto& ref : cache_.revisions()[revision].refs) refs.push_back(ref);
    }
    std::sort(refs.begin(), refs.end());
    std::string revisions =
        std::to_string(repo.revisions.size()) + (repo.revisions.size() == 1 ? " revision" : " revisions");
    if (!refs.empty()) {
      revisions += " (";
      for (std::size_t i = 0; i < refs.size(); ++i) revisions += (i == 0 ? "" : ", ") + refs[i];
      revisions += ")";
    }
    DevItem item;
    item.id = repo.path;
    item.name = repo.id;
    item.detail = capitalized(repo.type) + separator + revisions + separator + lastUsedText(used, now_) + separator +
                  tildePath(repo.path, context_.home);
    item.size = usageOf(repo.path).size;
    item.freeable = freeableOf(plan);
    const bool whole = plan.size() == 1 && plan.front() == repo.path;
    if (!whole) item.badges.push_back({"other models link to its files", Badge::Tone::info});
    item.selected = false;  // a whole model is the user's call
    if (whole && hfTool_) {
      item.action =
          DevAction::commands({{*hfTool_, "cache", "rm", HfCache::target(repo), "--cache-dir", cache_.hub(), "--yes"}});
    } else {
      item.action = ownRemoval(cache_.hub(), repo.path, {}, true, context_);
    }
    item.revealPath = repo.path;
    item.restoreHint = downloadHint(repo);
    lastActive_ = std::max(lastActive_, used);
    return item;
  }

  DevItem detachedItem(std::size_t index) {
    const auto& revision = cache_.revisions()[index];
    const auto& repo = cache_.repos()[revision.repo];
    const auto used = cache_.lastUsedOf({index});
    std::int64_t size = revision.size;
    for (const std::size_t blob : revision.blobs) size += cache_.blobs()[blob].size;
    DevItem item;
    item.id = revision.path;
    item.name = repo.id + " @ " + revision.commit.substr(0, 8);
    item.detail = std::string("Detached revision: no branch or tag points at it") + separator +
                  lastUsedText(used, now_) + separator + tildePath(revision.path, context_.home);
    item.size = size;
    item.freeable = freeableOf(revisionPlans_.at(index));
    item.badges.push_back({"detached", Badge::Tone::info});
    item.selected = !usedRecently(used, now_);
    item.action = ownRemoval(cache_.hub(), repo.path, {revision.commit}, false, context_);
    item.revealPath = revision.path;
    item.restoreHint = downloadHint(repo) + " --revision " + revision.commit;
    return item;
  }

  DevItem incompleteItem(const HfCache::Blob& blob) {
    const auto& repo = cache_.repos()[blob.repo];
    // A download still running writes to its file: it counts as used.
    const auto touched = std::max(blob.used, blob.modified);
    DevItem item;
    item.id = blob.path;
    item.name = repo.id + ": unfinished download";
    item.detail = lastPathComponent(blob.path) + separator +
                  (touched ? "last written " + ago(*touched, now_) : std::string("last write unknown"));
    item.size = blob.size;
    item.freeable = blob.freeable;
    item.badges.push_back({"incomplete", Badge::Tone::warn});
    item.selected = !usedRecently(touched, now_);
    item.action = DevAction::removePaths({blob.path});
    item.revealPath = blob.path;
    return item;
  }

  const HfCache& cache_;
  const std::optional<std::string>& hfTool_;
  Date now_;
  const Context& context_;
  std::vector<std::vector<std::string>> plans_;                    // per repository, removing it whole
  std::map<std::size_t, std::vector<std::string>> revisionPlans_;  // per detached revision, removing it alone
  std::map<std::string, Usage> known_;
  std::map<std::string, Usage> measured_;
  std::optional<Date> lastActive_;
};

}  // namespace

DevGroupPtr huggingFaceGroup(const std::string& hub, const std::optional<std::string>& hfTool, Date now,
                             const Context& context) {
  const HfCache cache = HfCache::read(hub, context.stop);
  HubItems builder(cache, hfTool, now, context);
  auto items = builder.all();
  if (items.empty()) return nullptr;
  sortByFreeable(items);
  auto group = std::make_shared<DevGroup>("huggingface", "Hugging Face", tildePath(hub, context.home), "brain");
  group->lastActive = builder.lastActive();
  group->setItems(std::move(items));
  return group;
}

}  // namespace tw
