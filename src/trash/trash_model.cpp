#include "trash/trash_model.h"

#include <algorithm>
#include <mutex>
#include <utility>

#include "core/concurrent.h"
#include "core/dev_item.h"
#include "core/history.h"
#include "core/sizes.h"
#include "fs/file_io.h"
#include "fs/path.h"
#include "fs/usage.h"
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

TrashModel::TrashModel(Dispatcher owner, Context context, DirsSource dirs)
    : context_(std::move(context)), dirs_(std::move(dirs)), runner_(std::move(owner)) {
  if (!dirs_) dirs_ = [context = context_] { return trashDirs(context); };
}

TrashModel::~TrashModel() = default;

std::vector<TrashDir> TrashModel::trashDirs(const Context& context) { return TrashLayout::dirs(context); }

bool TrashModel::isInTrash(const std::string& path, const Context& context) {
  return containingTrashDir(path, trashDirs(context)).has_value();
}

std::map<std::string, PutBack> TrashModel::putBackInfo(const std::string& dir, const std::set<std::string>& names) {
  return FinderLayout::putBackInfo(dir, names);
}

// --- state ---

std::vector<std::size_t> TrashModel::rowsOf(const std::set<std::string>& paths) const {
  std::vector<std::size_t> rows;
  for (std::size_t row = 0; row < items_.size(); ++row) {
    if (paths.contains(items_[row].path)) rows.push_back(row);
  }
  return rows;
}

void TrashModel::setSelection(std::set<std::string> selection) {
  std::set<std::string> changed;
  std::set_symmetric_difference(selection.begin(), selection.end(), selection_.ids().begin(), selection_.ids().end(),
                                std::inserter(changed, changed.end()));
  selection_.assign(std::move(selection));
  notify(TrashField::selection, rowsOf(changed));
}

void TrashModel::setSelected(const std::string& path, bool selected) {
  if (selection_.set(path, selected)) notify(TrashField::selection, rowsOf({path}));
}

void TrashModel::setSort(Sort sort) {
  sort_ = sort;
  notify(TrashField::sort);
}

void TrashModel::setSearch(std::string search) {
  search_ = std::move(search);
  notify(TrashField::search);
}

void TrashModel::setOlderOnly(bool olderOnly) {
  olderOnly_ = olderOnly;
  notify(TrashField::olderOnly);
}

std::int64_t TrashModel::total() const {
  std::int64_t sum = 0;
  for (const auto& item : items_) sum = saturatingAdd(sum, item.size.value_or(0));
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
    if (olderOnly && !(item.trashed && *item.trashed < now - staleAge)) continue;
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

struct TrashModel::Measured {
  std::size_t row;
  std::string path;
  Usage usage;
};

void TrashModel::load() { startLoad({}); }

void TrashModel::startLoad(std::function<void()> then) {
  if (then) afterLoad_.push_back(std::move(then));
  const std::uint64_t generation = ++generation_;
  loading_ = true;
  notify(TrashField::loading);
  // The job works on copies; only its result, on the owner's thread, touches the model.
  runner_.start([this, dirsSource = dirs_, context = context_, generation](std::stop_token) -> TaskRunner::Result {
    Loaded loaded;
    const auto dirs = dirsSource();
    for (std::size_t index = 0; index < dirs.size(); ++index) {
      TrashListing listing = readTrashFolder(dirs[index], context);
      // Volume Trashes that cannot be read are skipped quietly; only the home Trash counts.
      if (!listing.readable && index == 0) loaded.denied = true;
      for (auto& item : listing.items) loaded.items.push_back(std::move(item));
    }
    return [this, generation, loaded = std::move(loaded)]() mutable {
      if (generation == generation_) apply(std::move(loaded));
    };
  });
}

void TrashModel::apply(Loaded loaded) {
  items_ = std::move(loaded.items);
  std::set<std::string> present;
  for (const auto& item : items_) present.insert(item.path);
  selection_.retain([&](const std::string& path) { return present.contains(path); });
  denied_ = loaded.denied;
  loaded_ = true;
  loading_ = false;
  for (const TrashField field :
       {TrashField::items, TrashField::selection, TrashField::denied, TrashField::loaded, TrashField::loading}) {
    notify(field);
  }
  measureFolders(generation_);
  auto callbacks = std::move(afterLoad_);
  afterLoad_.clear();
  for (auto& callback : callbacks) callback();
}

void TrashModel::measureFolders(std::uint64_t generation) {
  std::vector<Measured> pending;
  for (std::size_t row = 0; row < items_.size(); ++row) {
    if (!items_[row].size) pending.push_back({row, items_[row].path, {}});
  }
  if (pending.empty()) {
    // An earlier load's measuring may still have been running; its results are stale.
    if (std::exchange(sizing_, false)) notify(TrashField::sizing);
    return;
  }
  sizing_ = true;
  notify(TrashField::sizing);

  // Results are gathered under a lock and applied in batches: one post at a time is ever
  // waiting, so a thousand small folders do not cost a thousand notifications.
  struct Batches {
    std::mutex mutex;
    std::vector<Measured> ready;
    bool flushPosted = false;
  };
  const auto batches = std::make_shared<Batches>();
  const auto flush = [this, batches, generation] {
    std::vector<Measured> ready;
    {
      std::lock_guard lock(batches->mutex);
      ready.swap(batches->ready);
      batches->flushPosted = false;
    }
    applySizes(ready, generation);
  };
  runner_.start([pending = std::move(pending), batches, flush, post = runner_.poster(), generation,
                 this](std::stop_token stop) -> TaskRunner::Result {
    concurrentPerform(
        pending.size(),
        [&](std::size_t index) {
          Measured measured = pending[index];
          measured.usage = usageOf(measured.path, stop);
          if (stop.stop_requested()) return;  // a partial sum is no size
          bool postFlush = false;
          {
            std::lock_guard lock(batches->mutex);
            batches->ready.push_back(std::move(measured));
            postFlush = !std::exchange(batches->flushPosted, true);
          }
          if (postFlush) post(flush);
        },
        stop);
    return [this, generation] {
      if (generation != generation_) return;
      sizing_ = false;
      notify(TrashField::sizing);
    };
  });
}

void TrashModel::applySizes(const std::vector<Measured>& measured, std::uint64_t generation) {
  if (generation != generation_) return;
  std::vector<std::size_t> rows;
  rows.reserve(measured.size());
  for (const auto& result : measured) {
    // Rows stay put within one generation; the path check only guards that promise.
    if (result.row >= items_.size() || items_[result.row].path != result.path) continue;
    items_[result.row].size = result.usage.size;
    items_[result.row].freeable = result.usage.freeable;
    rows.push_back(result.row);
  }
  std::sort(rows.begin(), rows.end());
  if (!rows.empty()) notify(TrashField::items, std::move(rows));
}

// --- operations ---

void TrashModel::cancel() { runner_.cancelAll(); }

void TrashModel::beginWork(std::int64_t total) {
  busy_ = true;
  finished_.store(0, std::memory_order_relaxed);
  progressTotal_ = total;
  for (const TrashField field : {TrashField::busy, TrashField::progress, TrashField::progressTotal}) notify(field);
}

void TrashModel::finishWork(std::string message, std::function<void()> completion) {
  message_ = std::move(message);
  busy_ = false;
  notify(TrashField::progress);
  notify(TrashField::message);
  notify(TrashField::busy);
  startLoad(std::move(completion));
}

void TrashModel::deleteItems(std::vector<TrashItem> items, std::function<void()> completion) {
  // Only direct children of a Trash folder are ever touched.
  items = inTrash(items, dirs_());
  needsAdmin_.clear();
  blocked_.clear();
  notify(TrashField::needsAdmin);
  notify(TrashField::blocked);
  beginWork(static_cast<std::int64_t>(items.size()));
  runner_.start([this, items = std::move(items), dirs = dirs_, context = context_,
                 completion = std::move(completion)](std::stop_token stop) mutable -> TaskRunner::Result {
    TrashRemoval removal = removeFromTrash(items, dirs(), context.withStop(stop), &finished_);
    return [this, removal = std::move(removal), completion = std::move(completion)]() mutable {
      needsAdmin_ = removal.needsAdmin;
      blocked_ = removal.blocked;
      notify(TrashField::needsAdmin);
      notify(TrashField::blocked);
      finishWork(TrashMessages::deleted(removal.removed.size(), removal.freed, removal.needsAdmin.size(),
                                        removal.blocked.size()),
                 std::move(completion));
    };
  });
}

void TrashModel::deleteWithAdmin(std::function<void()> completion) {
  const std::vector<std::string> paths = needsAdmin_;
  if (paths.empty()) {
    if (completion) completion();
    return;
  }
  beginWork(static_cast<std::int64_t>(paths.size()));
  runner_.start([this, paths, dirsSource = dirs_, context = context_,
                 completion = std::move(completion)](std::stop_token stop) mutable -> TaskRunner::Result {
    const Context job = context.withStop(stop);
    const auto dirs = dirsSource();
    std::vector<std::string> targets;
    std::vector<std::int64_t> bytes;
    for (const auto& path : paths) {
      if (!containingTrashDir(path, dirs)) continue;
      targets.push_back(path);
      bytes.push_back(usageOf(path, stop).freeable);
    }
    const ActionOutcome outcome =
        targets.empty() ? ActionOutcome::success()
                        : DevAction::admin(TrashLayout::adminRemoveCommand(withCompanions(targets, dirs))).perform(job);
    if (outcome.status == ActionOutcome::Status::cancelled) {
      return [this, completion = std::move(completion)]() mutable {
        finishWork(TrashMessages::adminCancelled(), std::move(completion));
      };
    }
    std::vector<std::string> stillThere;
    std::vector<HistoryRecord> records;
    std::int64_t freed = 0;
    for (std::size_t index = 0; index < targets.size(); ++index) {
      if (pathExists(targets[index])) {
        stillThere.push_back(targets[index]);
        continue;
      }
      freed = saturatingAdd(freed, bytes[index]);
      records.push_back({"Trash", lastPathComponent(targets[index]), bytes[index], std::nullopt});
    }
    if (job.history) job.history->record(records);
    std::string message =
        TrashMessages::adminDeleted(records.size(), freed, stillThere.size(), outcome.error().value_or(""));
    return [this, stillThere = std::move(stillThere), message = std::move(message),
            completion = std::move(completion)]() mutable {
      needsAdmin_.clear();
      blocked_ = std::move(stillThere);
      notify(TrashField::needsAdmin);
      notify(TrashField::blocked);
      finishWork(std::move(message), std::move(completion));
    };
  });
}

void TrashModel::emptyWithFinder(std::function<void()> completion) {
  beginWork(0);
  runner_.start([this, dirs = dirs_, context = context_,
                 completion = std::move(completion)](std::stop_token) mutable -> TaskRunner::Result {
    const auto result = TrashLayout::emptyWithFileManager(context);
    std::vector<std::string> remaining;
    if (result != TrashLayout::FileManagerResult::unavailable) {
      for (const auto& dir : dirs()) {
        for (auto& item : readTrashFolder(dir, context).items) remaining.push_back(std::move(item.path));
      }
    }
    return [this, result, remaining = std::move(remaining), completion = std::move(completion)]() mutable {
      blocked_ = std::move(remaining);
      notify(TrashField::blocked);
      finishWork(TrashMessages::fileManager(result), std::move(completion));
    };
  });
}

void TrashModel::putBack(std::vector<TrashItem> items, std::function<void()> completion) {
  beginWork(static_cast<std::int64_t>(items.size()));
  runner_.start([this, items = std::move(items), dirs = dirs_, context = context_,
                 completion = std::move(completion)](std::stop_token) mutable -> TaskRunner::Result {
    const PutBackResult result = putBackItems(items, dirs(), context);
    return [this, message = TrashMessages::putBack(result.restored.size(), result.failures),
            completion = std::move(completion)]() mutable { finishWork(std::move(message), std::move(completion)); };
  });
}

}  // namespace tw
