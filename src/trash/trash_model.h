#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "core/date.h"
#include "core/dispatcher.h"
#include "core/observable.h"
#include "trash/ds_store.h"
#include "trash/trash_item.h"

namespace tw {

// What lies in every Trash folder of the current user, with origins, sizes, filters and
// the operations on it. Owned by one thread (the one the dispatcher posts to): every
// state change happens there and is announced to observers by property name; loading,
// measuring, deleting and putting back run in the background.
class TrashModel : public Observable {
 public:
  enum class Sort { size, date, name };
  [[nodiscard]] static std::string_view title(Sort sort);  // "Size", "Date Deleted", "Name"
  [[nodiscard]] static const std::vector<Sort>& allSorts();

  // Where the model looks for Trash folders; every volume's by default.
  using DirsSource = std::function<std::vector<TrashDir>()>;

  explicit TrashModel(Dispatcher owner, DirsSource dirs = &TrashModel::trashDirs);
  ~TrashModel();

  // --- class-level ---
  [[nodiscard]] static std::vector<TrashDir> trashDirs();
  // Whether the path is a direct child of one of the Trash folders.
  [[nodiscard]] static bool isInTrash(const std::string& path);
  // The Finder's put-back records of a Trash folder for the entries `names`.
  [[nodiscard]] static std::map<std::string, PutBack> putBackInfo(const std::string& dir,
                                                                  const std::set<std::string>& names);

  // --- observable state ---
  [[nodiscard]] const std::vector<TrashItem>& items() const { return items_; }
  [[nodiscard]] const std::set<std::string>& selection() const { return selection_; }
  [[nodiscard]] bool loading() const { return loading_; }
  [[nodiscard]] bool loaded() const { return loaded_; }
  [[nodiscard]] bool sizing() const { return sizing_; }
  [[nodiscard]] bool busy() const { return busy_; }
  [[nodiscard]] std::int64_t progress() const { return progress_; }
  [[nodiscard]] std::int64_t progressTotal() const { return progressTotal_; }
  [[nodiscard]] const std::optional<std::string>& message() const { return message_; }
  [[nodiscard]] bool denied() const { return denied_; }
  [[nodiscard]] const std::vector<std::string>& needsAdmin() const { return needsAdmin_; }
  [[nodiscard]] const std::vector<std::string>& blocked() const { return blocked_; }
  [[nodiscard]] Sort sort() const { return sort_; }
  [[nodiscard]] const std::string& search() const { return search_; }
  [[nodiscard]] bool olderOnly() const { return olderOnly_; }

  void setSelection(std::set<std::string> selection);
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

 private:
  struct Loaded;
  void startLoad(std::function<void()> then);
  void apply(Loaded loaded);
  void measureFolders(std::uint64_t generation);
  void applySize(const std::string& path, std::int64_t size, std::int64_t freeable);
  void beginWork(std::int64_t total);
  void finishWork(std::string message, std::function<void()> completion);

  // How background work hands a change to the owner's thread. It holds the model weakly,
  // so a change that arrives after the model is gone is dropped.
  using Poster = std::function<void(std::function<void(TrashModel&)>)>;
  [[nodiscard]] Poster poster() const;

  Dispatcher owner_;
  DirsSource dirs_;
  // Background work holds this weakly, so results arriving after destruction are dropped.
  std::shared_ptr<TrashModel*> self_;
  std::uint64_t generation_ = 0;
  std::vector<std::function<void()>> afterLoad_;

  std::vector<TrashItem> items_;
  std::set<std::string> selection_;
  bool loading_ = false;
  bool loaded_ = false;
  bool sizing_ = false;
  bool busy_ = false;
  std::int64_t progress_ = 0;
  std::int64_t progressTotal_ = 0;
  std::optional<std::string> message_;
  bool denied_ = false;
  std::vector<std::string> needsAdmin_;
  std::vector<std::string> blocked_;
  Sort sort_ = Sort::size;
  std::string search_;
  bool olderOnly_ = false;
};

// The filtered and sorted list behind TrashModel::visible: olderOnly keeps items trashed
// more than 30 days before `now` (undated ones count as recent), the search matches name
// or origin ignoring case, then a stable sort: largest, newest, or A to Z first.
[[nodiscard]] std::vector<TrashItem> visibleTrashItems(const std::vector<TrashItem>& items, TrashModel::Sort sort,
                                                       const std::string& search, bool olderOnly, Date now);

}  // namespace tw
