#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "core/context.h"
#include "core/date.h"
#include "core/dispatcher.h"
#include "core/observable.h"
#include "core/selection.h"
#include "core/task_runner.h"
#include "trash/ds_store.h"
#include "trash/trash_item.h"

namespace tw {

// What a TrashModel announces. `items` with rows is a batch of measured sizes; without
// rows, a new list. `progress` is announced when an operation starts and ends only: while
// it runs, a view polls progress() on a timer.
enum class TrashField {
  items,
  selection,
  loading,
  loaded,
  sizing,
  busy,
  progress,
  progressTotal,
  message,
  denied,
  needsAdmin,
  blocked,
  sort,
  search,
  olderOnly,
};

// What lies in every Trash folder of the current user, with origins, sizes, filters and
// the operations on it. Owned by one thread (the one the dispatcher posts to): every
// state change happens there and is announced to observers; loading, measuring, deleting
// and putting back run as jobs the model owns, cancelled and joined when it goes away.
class TrashModel : public Observable<TrashField> {
 public:
  enum class Sort { size, date, name };
  [[nodiscard]] static std::string_view title(Sort sort);  // "Size", "Date Deleted", "Name"
  [[nodiscard]] static const std::vector<Sort>& allSorts();

  // Where the model looks for Trash folders; every volume's by default.
  using DirsSource = std::function<std::vector<TrashDir>()>;

  TrashModel(Dispatcher owner, Context context, DirsSource dirs = {});
  ~TrashModel();

  // --- class-level ---
  [[nodiscard]] static std::vector<TrashDir> trashDirs(const Context& context);
  // Whether the path is a direct child of one of the Trash folders.
  [[nodiscard]] static bool isInTrash(const std::string& path, const Context& context);
  // The Finder's put-back records of a Trash folder for the entries `names`.
  [[nodiscard]] static std::map<std::string, PutBack> putBackInfo(const std::string& dir,
                                                                  const std::set<std::string>& names);

  // --- observable state ---
  [[nodiscard]] const std::vector<TrashItem>& items() const { return items_; }
  // The ticked items, by path.
  [[nodiscard]] const std::set<std::string>& selection() const { return selection_.ids(); }
  [[nodiscard]] bool loading() const { return loading_; }
  [[nodiscard]] bool loaded() const { return loaded_; }
  [[nodiscard]] bool sizing() const { return sizing_; }
  [[nodiscard]] bool busy() const { return busy_; }
  // Items the running (or last) operation has finished; safe to poll from a timer.
  [[nodiscard]] std::int64_t progress() const {
    return static_cast<std::int64_t>(finished_.load(std::memory_order_relaxed));
  }
  [[nodiscard]] std::int64_t progressTotal() const { return progressTotal_; }
  [[nodiscard]] const std::optional<std::string>& message() const { return message_; }
  [[nodiscard]] bool denied() const { return denied_; }
  [[nodiscard]] const std::vector<std::string>& needsAdmin() const { return needsAdmin_; }
  [[nodiscard]] const std::vector<std::string>& blocked() const { return blocked_; }
  [[nodiscard]] Sort sort() const { return sort_; }
  [[nodiscard]] const std::string& search() const { return search_; }
  [[nodiscard]] bool olderOnly() const { return olderOnly_; }

  void setSelection(std::set<std::string> selection);
  void setSelected(const std::string& path, bool selected);
  void setSort(Sort sort);
  void setSearch(std::string search);
  void setOlderOnly(bool olderOnly);

  // --- derived ---
  [[nodiscard]] std::int64_t total() const;
  [[nodiscard]] std::vector<TrashItem> visible(Date now = std::chrono::system_clock::now()) const;
  [[nodiscard]] std::vector<TrashItem> selectedItems() const;

  // --- operations (call on the owner's thread) ---
  void load();
  // Permanently deletes the given items (only those directly inside a Trash folder).
  void deleteItems(std::vector<TrashItem> items, std::function<void()> completion = {});
  // Retries `needsAdmin` with administrator rights.
  void deleteWithAdmin(std::function<void()> completion = {});
  // Asks the system file manager to empty the Trash.
  void emptyWithFinder(std::function<void()> completion = {});
  // Moves items back to where they were trashed from.
  void putBack(std::vector<TrashItem> items, std::function<void()> completion = {});

  // Asks every running job to stop; the model goes on with what it has.
  void cancel();

 private:
  struct Loaded;
  struct Measured;
  void startLoad(std::function<void()> then);
  void apply(Loaded loaded);
  void measureFolders(std::uint64_t generation);
  void applySizes(const std::vector<Measured>& measured, std::uint64_t generation);
  [[nodiscard]] std::vector<std::size_t> rowsOf(const std::set<std::string>& paths) const;
  void beginWork(std::int64_t total);
  void finishWork(std::string message, std::function<void()> completion);

  const Context context_;
  DirsSource dirs_;
  std::uint64_t generation_ = 0;
  std::vector<std::function<void()>> afterLoad_;

  std::vector<TrashItem> items_;
  Selection selection_;
  bool loading_ = false;
  bool loaded_ = false;
  bool sizing_ = false;
  bool busy_ = false;
  std::atomic<std::size_t> finished_{0};
  std::int64_t progressTotal_ = 0;
  std::optional<std::string> message_;
  bool denied_ = false;
  std::vector<std::string> needsAdmin_;
  std::vector<std::string> blocked_;
  Sort sort_ = Sort::size;
  std::string search_;
  bool olderOnly_ = false;
  // Last, so that it goes first: its jobs are joined before anything above goes.
  TaskRunner runner_;
};

// The filtered and sorted list behind TrashModel::visible: olderOnly keeps items trashed
// more than 30 days before `now` (undated ones count as recent), the search matches name
// or origin ignoring case, then a stable sort: largest, newest, or A to Z first.
[[nodiscard]] std::vector<TrashItem> visibleTrashItems(const std::vector<TrashItem>& items, TrashModel::Sort sort,
                                                       const std::string& search, bool olderOnly, Date now);

}  // namespace tw
