#pragma once

#include <atomic>
#include <chrono>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "core/context.h"
#include "core/date.h"
#include "core/dev_group.h"
#include "core/dispatcher.h"
#include "core/observable.h"
#include "core/selection.h"
#include "core/task_runner.h"

namespace tw {

// What a DevPane announces. `progress` is announced when a perform starts and ends only:
// while it runs, a view polls progress() on a timer.
enum class DevPaneField { groups, note, loading, loaded, busy, progress, message, scanTime, staleOnly, selection };

// The per-screen model: loads its provider off the owner's thread and applies the result
// in one step; keeps which items are ticked, by item id. Every observable field is read
// and written on the owner's thread. Its background work belongs to it: going away
// cancels and joins it.
class DevPane : public Observable<DevPaneField> {
 public:
  static std::shared_ptr<DevPane> make(Provider provider, std::optional<std::string> cacheKey, Dispatcher dispatcher,
                                       Context context);
  ~DevPane();

  [[nodiscard]] const std::vector<DevGroupPtr>& groups() const { return groups_; }
  [[nodiscard]] const std::optional<std::string>& note() const { return note_; }
  [[nodiscard]] bool loading() const { return loading_; }
  [[nodiscard]] bool loaded() const { return loaded_; }
  [[nodiscard]] bool busy() const { return busy_; }
  // Items the running (or last) perform has finished; safe to poll from a timer.
  [[nodiscard]] int progress() const { return static_cast<int>(finished_.load(std::memory_order_relaxed)); }
  [[nodiscard]] int done() const { return progress(); }
  [[nodiscard]] const std::optional<std::string>& message() const { return message_; }
  [[nodiscard]] double scanTime() const { return scanTime_; }
  [[nodiscard]] bool staleOnly() const { return staleOnly_; }
  [[nodiscard]] const std::optional<std::string>& cacheKey() const { return cacheKey_; }
  [[nodiscard]] std::size_t waiterCount() const { return waiters_.size(); }
  [[nodiscard]] const Context& context() const { return context_; }

  void setStaleOnly(bool staleOnly);

  // The ticked items, by id. A load ticks what its provider pre-selected.
  [[nodiscard]] const Selection& selection() const { return selection_; }
  [[nodiscard]] bool isSelected(const std::string& id) const { return selection_.contains(id); }
  void setSelected(const std::string& id, bool selected);
  void setSelection(std::set<std::string> ids);

  // Groups that the stale filter lets through; every computed value below follows it.
  [[nodiscard]] std::vector<DevGroupPtr> visibleGroups(Date now = std::chrono::system_clock::now()) const;
  [[nodiscard]] std::int64_t total() const;
  [[nodiscard]] std::size_t itemCount() const;
  [[nodiscard]] std::vector<DevItem> selectedItems() const;
  [[nodiscard]] std::int64_t selectedTotal() const;
  // How many visible items are ticked and what they would free, without copying them.
  struct SelectionSummary {
    std::size_t count = 0;
    std::int64_t freeable = 0;
  };
  [[nodiscard]] SelectionSummary selectionSummary() const;

  // Starts a load, or joins the running one; `then` runs once when it ends.
  void load(std::function<void()> then = nullptr);

  // Runs the items' actions (or `override` for each) and reloads; see dev_pane_perform.cpp.
  void perform(std::vector<DevItem> items, std::optional<DevAction> override, std::function<void()> completion);

  // Asks the running load and perform to stop; their callbacks still run.
  void cancel();

 private:
  DevPane(Provider provider, std::optional<std::string> cacheKey, Dispatcher dispatcher, Context context);

  void apply(std::optional<ProviderResult> result, std::chrono::steady_clock::time_point started);
  void selectPreselected();
  void announceSelection(const std::set<std::string>& changedIds);
  void finishPerform(std::string message, std::function<void()> completion);

  std::vector<DevGroupPtr> groups_;
  std::optional<std::string> note_;
  bool loading_ = false;
  bool loaded_ = false;
  bool busy_ = false;
  std::atomic<std::size_t> finished_{0};
  std::optional<std::string> message_;
  double scanTime_ = 0;
  bool staleOnly_ = false;
  Selection selection_;
  // Where each item id sits: group index and row, for row-level selection notices.
  std::map<std::string, std::pair<std::size_t, std::size_t>> rowOf_;
  const Provider provider_;
  const std::optional<std::string> cacheKey_;
  std::vector<std::function<void()>> waiters_;
  const Context context_;
  // Last, so that it goes first: its jobs read the members above until they are joined.
  TaskRunner runner_;
};

}  // namespace tw
