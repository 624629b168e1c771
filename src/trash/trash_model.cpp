#include "trash/trash_model.h"

#include <sys/stat.h>

#include <algorithm>
#include <atomic>
#include <mutex>

#include "core/concurrent.h"
#include "core/dev_item.h"
#include "core/history.h"
#include "lens/disk_scanner.h"
#include "trash/finder_layout.h"
#include "trash/put_back.h"
#include "trash/text_search.h"
#include "trash/trash_layout.h"
#include "trash/trash_messages.h"
#include "trash/trash_paths.h"
#include "trash/trash_reader.h"
#include "trash/trash_removal.h"

namespace tw {
namespace {

constexpr auto olderThan = std::chrono::seconds{2'592'000};  // 30 days

bool present(const std::string& path) {
  struct stat info {};
  return ::lstat(path.c_str(), &info) == 0;
}

std::vector<TrashItem> inTrash(const std::vector<TrashItem>& items, const std::vector<TrashDir>& dirs) {
  std::vector<TrashItem> kept;
  for (const auto& item : items) {
    if (containingTrashDir(item.path, dirs)) kept.push_back(item);
  }
  return kept;
}

// What an administrator must remove for these paths: each item and its Trash records.
std::vector<std::string> withCompanions(const std::vector<std::string>& paths, const std::vector<TrashDir>& dirs) {
  std::vector<std::string> all;
  for (const auto& path : paths) {
    const auto dir = containingTrashDir(path, dirs);
    if (!dir) continue;
    all.push_back(path);
    for (auto& companion : TrashLayout::companions(*dir, path.substr(path.rfind('/') + 1))) {
      all.push_back(std::move(companion));
    }
  }
  return all;
}

bool sortsBefore(const TrashItem& a, const TrashItem& b, TrashModel::Sort sort) {
  switch (sort) {
    case TrashModel::Sort::size:
      // Largest first; unmeasured folders last.
      return a.size.value_or(-1) > b.size.value_or(-1);
    case TrashModel::Sort::date:
      // Newest first; undated items last.
      return a.trashed.value_or(Date::min()) > b.trashed.value_or(Date::min());
    case TrashModel::Sort::name:
      return foldedCase(a.name) < foldedCase(b.name);
  }
  return false;
}

}  // namespace

struct TrashModel::Loaded {
  std::vector<TrashItem> items;
  bool denied = false;
};

std::string_view TrashModel::title(Sort sort) {
  switch (sort) {
    case Sort::size:
      return "Size";
    case Sort::date:
      return "Date Deleted";
    case Sort::name:
      return "Name";
  }
  return "";
}

const std::vector<TrashModel::Sort>& TrashModel::allSorts() {
  static const std::vector<Sort> sorts{Sort::size, Sort::date, Sort::name};
  return sorts;
}

TrashModel::TrashModel(Dispatcher owner, DirsSource dirs)
    : owner_(std::move(owner)), dirs_(std::move(dirs)), self_(std::make_shared<TrashModel*>(this)) {}

TrashModel::~TrashModel() = default;

std::vector<TrashDir> TrashModel::trashDirs() { return TrashLayout::dirs(); }

bool TrashModel::isInTrash(const std::string& path) { return containingTrashDir(path, trashDirs()).has_value(); }

std::map<std::string, PutBack> TrashModel::putBackInfo(const std::string& dir, const std::set<std::string>& names) {
  return FinderLayout::putBackInfo(dir, names);
}

// --- state ---

void TrashModel::setSelection(std::set<std::string> selection) {
  selection_ = std::move(selection);
  notify("selection");
}

void TrashModel::setSort(Sort sort) {
  sort_ = sort;
  notify("sort");
}

void TrashModel::setSearch(std::string search) {
  search_ = std::move(search);
  notify("search");
}

void TrashModel::setOlderOnly(bool olderOnly) {
  olderOnly_ = olderOnly;
  notify("olderOnly");
}

std::int64_t TrashModel::total() const {
  std::int64_t sum = 0;
  for (const auto& item : items_) sum += item.size.value_or(0);
  return sum;
}

std::vector<TrashItem> TrashModel::visible(Date now) const {
  return visibleTrashItems(items_, sort_, search_, olderOnly_, now);
}

std::vector<TrashItem> TrashModel::selectedItems() const {
  std::vector<TrashItem> selected;
  for (const auto& item : items_) {
    if (selection_.contains(item.path)) selected.push_back(item);
  }
  return selected;
}

std::vector<TrashItem> visibleTrashItems(const std::vector<TrashItem>& items, TrashModel::Sort sort,
                                         const std::string& search, bool olderOnly, Date now) {
  std::vector<TrashItem> kept;
  for (const auto& item : items) {
    if (olderOnly && !(item.trashed && *item.trashed < now - olderThan)) continue;
    if (!search.empty() && !containsIgnoringCase(item.name, search) &&
        !(item.origin && containsIgnoringCase(*item.origin, search))) {
      continue;
    }
    kept.push_back(item);
  }
  std::stable_sort(kept.begin(), kept.end(),
                   [sort](const TrashItem& a, const TrashItem& b) { return sortsBefore(a, b, sort); });
  return kept;
}

// --- loading and measuring ---

TrashModel::Poster TrashModel::poster() const {
  return [owner = owner_, weak = std::weak_ptr<TrashModel*>(self_)](std::function<void(TrashModel&)> change) {
    owner([weak, change = std::move(change)] {
      if (const auto self = weak.lock()) change(**self);
    });
  };
}

void TrashModel::load() { startLoad({}); }

void TrashModel::startLoad(std::function<void()> then) {
  if (then) afterLoad_.push_back(std::move(then));
  const std::uint64_t generation = ++generation_;
  loading_ = true;
  notify("loading");
  // The background side gets only copies and a way to post back, never `this`.
  runInBackground([poster = poster(), dirsSource = dirs_, generation] {
    Loaded loaded;
    const auto dirs = dirsSource();
    for (std::size_t index = 0; index < dirs.size(); ++index) {
      TrashListing listing = readTrashFolder(dirs[index]);
      // Volume Trashes that cannot be read are skipped quietly; only the home Trash counts.
      if (!listing.readable && index == 0) loaded.denied = true;
      for (auto& item : listing.items) loaded.items.push_back(std::move(item));
    }
    poster([generation, loaded = std::move(loaded)](TrashModel& model) mutable {
      if (generation == model.generation_) model.apply(std::move(loaded));
    });
  });
}

void TrashModel::apply(Loaded loaded) {
  items_ = std::move(loaded.items);
  std::set<std::string> present;
  for (const auto& item : items_) present.insert(item.path);
  std::erase_if(selection_, [&](const std::string& path) { return !present.contains(path); });
  denied_ = loaded.denied;
  loaded_ = true;
  loading_ = false;
  for (const char* property : {"items", "selection", "denied", "loaded", "loading"}) notify(property);
  measureFolders(generation_);
  auto callbacks = std::move(afterLoad_);
  afterLoad_.clear();
  for (auto& callback : callbacks) callback();
}

void TrashModel::measureFolders(std::uint64_t generation) {
  std::vector<std::string> paths;
  for (const auto& item : items_) {
    if (!item.size) paths.push_back(item.path);
  }
  if (paths.empty()) {
    // An earlier load's measuring may still have been running; its results are stale.
    if (std::exchange(sizing_, false)) notify("sizing");
    return;
  }
  sizing_ = true;
  notify("sizing");

  struct Results {
    std::mutex mutex;
    std::vector<std::pair<std::string, std::pair<std::int64_t, std::int64_t>>> ready;
    bool flushPosted = false;
  };
  const auto results = std::make_shared<Results>();
  // Results are merged under the lock and applied in batches, so a thousand small
  // folders do not cost a thousand notifications.
  const auto flush = [results, generation](TrashModel& model) {
    std::vector<std::pair<std::string, std::pair<std::int64_t, std::int64_t>>> ready;
    {
      std::lock_guard lock(results->mutex);
      ready.swap(results->ready);
      results->flushPosted = false;
    }
    if (generation != model.generation_) return;
    for (const auto& [path, usage] : ready) model.applySize(path, usage.first, usage.second);
    model.notify("items");
  };
  runInBackground([paths = std::move(paths), results, poster = poster(), flush, generation] {
    concurrentPerform(paths.size(), [&](std::size_t index) {
      const auto usage = DiskScanner::usage(paths[index]);
      bool postFlush = false;
      {
        std::lock_guard lock(results->mutex);
        results->ready.emplace_back(paths[index], usage);
        postFlush = !std::exchange(results->flushPosted, true);
      }
      if (postFlush) poster(flush);
    });
    poster([generation](TrashModel& model) {
      if (generation != model.generation_) return;
      model.sizing_ = false;
      model.notify("sizing");
    });
  });
}

void TrashModel::applySize(const std::string& path, std::int64_t size, std::int64_t freeable) {
  const auto found =
      std::find_if(items_.begin(), items_.end(), [&](const TrashItem& item) { return item.path == path; });
  if (found == items_.end()) return;
  found->size = size;
  found->freeable = freeable;
}

// --- operations ---

void TrashModel::beginWork(std::int64_t total) {
  busy_ = true;
  progress_ = 0;
  progressTotal_ = total;
  for (const char* property : {"busy", "progress", "progressTotal"}) notify(property);
}

void TrashModel::finishWork(std::string message, std::function<void()> completion) {
  message_ = std::move(message);
  busy_ = false;
  notify("message");
  notify("busy");
  startLoad(std::move(completion));
}

void TrashModel::deleteItems(std::vector<TrashItem> items, std::function<void()> completion) {
  // Only direct children of a Trash folder are ever touched.
  items = inTrash(items, dirs_());
  needsAdmin_.clear();
  blocked_.clear();
  notify("needsAdmin");
  notify("blocked");
  beginWork(static_cast<std::int64_t>(items.size()));
  runInBackground(
      [items = std::move(items), poster = poster(), dirs = dirs_, completion = std::move(completion)]() mutable {
        std::atomic<std::int64_t> done{0};
        TrashRemoval removal = removeFromTrash(items, dirs(), [&] {
          const std::int64_t count = ++done;
          poster([count](TrashModel& model) {
            model.progress_ = std::max(model.progress_, count);
            model.notify("progress");
          });
        });
        poster([removal = std::move(removal), completion = std::move(completion)](TrashModel& model) mutable {
          model.needsAdmin_ = removal.needsAdmin;
          model.blocked_ = removal.blocked;
          model.notify("needsAdmin");
          model.notify("blocked");
          model.finishWork(TrashMessages::deleted(removal.removed.size(), removal.freed, removal.needsAdmin.size(),
                                                  removal.blocked.size()),
                           std::move(completion));
        });
      });
}

void TrashModel::deleteWithAdmin(std::function<void()> completion) {
  const std::vector<std::string> paths = needsAdmin_;
  if (paths.empty()) {
    if (completion) completion();
    return;
  }
  beginWork(static_cast<std::int64_t>(paths.size()));
  runInBackground([paths, poster = poster(), dirsSource = dirs_, completion = std::move(completion)]() mutable {
    const auto dirs = dirsSource();
    std::vector<std::string> targets;
    std::vector<std::int64_t> bytes;
    for (const auto& path : paths) {
      if (!containingTrashDir(path, dirs)) continue;
      targets.push_back(path);
      bytes.push_back(DiskScanner::usage(path).second);
    }
    const auto error = targets.empty()
                           ? std::optional<std::string>{}
                           : DevAction::admin(TrashLayout::adminRemoveCommand(withCompanions(targets, dirs))).perform();
    if (error && *error == "Cancelled") {
      poster([completion = std::move(completion)](TrashModel& model) mutable {
        model.finishWork(TrashMessages::adminCancelled(), std::move(completion));
      });
      return;
    }
    std::vector<std::string> stillThere;
    std::size_t removed = 0;
    std::int64_t freed = 0;
    for (std::size_t index = 0; index < targets.size(); ++index) {
      if (present(targets[index])) {
        stillThere.push_back(targets[index]);
        continue;
      }
      ++removed;
      freed += bytes[index];
      History::record("Trash", targets[index].substr(targets[index].rfind('/') + 1), bytes[index], std::nullopt);
    }
    std::string message = TrashMessages::adminDeleted(removed, freed, stillThere.size(), error.value_or(""));
    poster([stillThere = std::move(stillThere), message = std::move(message),
            completion = std::move(completion)](TrashModel& model) mutable {
      model.needsAdmin_.clear();
      model.blocked_ = std::move(stillThere);
      model.notify("needsAdmin");
      model.notify("blocked");
      model.finishWork(std::move(message), std::move(completion));
    });
  });
}

void TrashModel::emptyWithFinder(std::function<void()> completion) {
  beginWork(0);
  runInBackground([poster = poster(), dirs = dirs_, completion = std::move(completion)]() mutable {
    const auto result = TrashLayout::emptyWithFileManager();
    std::vector<std::string> remaining;
    if (result != TrashLayout::FileManagerResult::unavailable) {
      for (const auto& dir : dirs()) {
        for (auto& item : readTrashFolder(dir).items) remaining.push_back(std::move(item.path));
      }
    }
    poster([result, remaining = std::move(remaining), completion = std::move(completion)](TrashModel& model) mutable {
      model.blocked_ = std::move(remaining);
      model.notify("blocked");
      model.finishWork(TrashMessages::fileManager(result), std::move(completion));
    });
  });
}

void TrashModel::putBack(std::vector<TrashItem> items, std::function<void()> completion) {
  beginWork(static_cast<std::int64_t>(items.size()));
  runInBackground(
      [items = std::move(items), poster = poster(), dirs = dirs_, completion = std::move(completion)]() mutable {
        const PutBackResult result = putBackItems(items, dirs());
        std::string message = TrashMessages::putBack(result.restored.size(), result.failures);
        poster([message = std::move(message), completion = std::move(completion)](TrashModel& model) mutable {
          model.finishWork(std::move(message), std::move(completion));
        });
      });
}

}  // namespace tw
