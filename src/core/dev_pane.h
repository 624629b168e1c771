#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "core/dev_group.h"
#include "core/dispatcher.h"
#include "core/observable.h"

namespace tw {

// The per-screen model: loads its provider off the owner's thread and applies the
// result in one step. Every observable field is read and written on the owner's thread.
class DevPane : public Observable, public std::enable_shared_from_this<DevPane> {
 public:
  static constexpr std::int64_t staleSeconds = 2'592'000;

  static std::shared_ptr<DevPane> make(Provider provider, std::optional<std::string> cacheKey, Dispatcher dispatcher);

  [[nodiscard]] const std::vector<DevGroupPtr>& groups() const { return groups_; }
  [[nodiscard]] const std::optional<std::string>& note() const { return note_; }
  [[nodiscard]] bool loading() const { return loading_; }
  [[nodiscard]] bool loaded() const { return loaded_; }
  [[nodiscard]] bool busy() const { return busy_; }
  [[nodiscard]] int progress() const { return progress_; }
  [[nodiscard]] const std::optional<std::string>& message() const { return message_; }
  [[nodiscard]] double scanTime() const { return scanTime_; }
  [[nodiscard]] bool staleOnly() const { return staleOnly_; }
  [[nodiscard]] int done() const { return done_; }
  [[nodiscard]] const std::optional<std::string>& cacheKey() const { return cacheKey_; }
  [[nodiscard]] std::size_t waiterCount() const { return waiters_.size(); }

  void setStaleOnly(bool staleOnly);

  // Groups that the stale filter lets through; every computed value below follows it.
  [[nodiscard]] std::vector<DevGroupPtr> visibleGroups(Date now = std::chrono::system_clock::now()) const;
  [[nodiscard]] std::int64_t total() const;
  [[nodiscard]] std::size_t itemCount() const;
  [[nodiscard]] std::vector<DevItem> selectedItems() const;
  [[nodiscard]] std::int64_t selectedTotal() const;

  // Starts a load, or joins the running one; `then` runs once when it ends.
  void load(std::function<void()> then = nullptr);

  // Runs the items' actions (or `override` for each) and reloads; see dev_pane_perform.cpp.
  void perform(std::vector<DevItem> items, std::optional<DevAction> override, std::function<void()> completion);

 private:
  DevPane(Provider provider, std::optional<std::string> cacheKey, Dispatcher dispatcher);

  void apply(ProviderResult result, std::chrono::steady_clock::time_point started);
  void setProgress(int progress);
  void finishPerform(std::string message, std::function<void()> completion);

  std::vector<DevGroupPtr> groups_;
  std::optional<std::string> note_;
  bool loading_ = false;
  bool loaded_ = false;
  bool busy_ = false;
  int progress_ = 0;
  std::optional<std::string> message_;
  double scanTime_ = 0;
  bool staleOnly_ = false;
  const Provider provider_;
  const std::optional<std::string> cacheKey_;
  std::vector<std::function<void()>> waiters_;
  int done_ = 0;
  const Dispatcher dispatcher_;
};

}  // namespace tw
