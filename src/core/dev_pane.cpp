#include "core/dev_pane.h"

#include "core/sample_mode.h"

namespace tw {

std::shared_ptr<DevPane> DevPane::make(Provider provider, std::optional<std::string> cacheKey, Dispatcher dispatcher) {
  return std::shared_ptr<DevPane>(new DevPane(std::move(provider), std::move(cacheKey), std::move(dispatcher)));
}

DevPane::DevPane(Provider provider, std::optional<std::string> cacheKey, Dispatcher dispatcher)
    : provider_(std::move(provider)), cacheKey_(std::move(cacheKey)), dispatcher_(std::move(dispatcher)) {}

void DevPane::setStaleOnly(bool staleOnly) {
  if (staleOnly == staleOnly_) return;
  staleOnly_ = staleOnly;
  notify("staleOnly");
}

std::vector<DevGroupPtr> DevPane::visibleGroups(Date now) const {
  if (!staleOnly_) return groups_;
  const auto cutoff = now - std::chrono::seconds{staleSeconds};
  std::vector<DevGroupPtr> stale;
  for (const auto& group : groups_) {
    if (group->lastActive && *group->lastActive < cutoff) stale.push_back(group);
  }
  return stale;
}

std::int64_t DevPane::total() const {
  std::int64_t sum = 0;
  for (const auto& group : visibleGroups()) sum += group->total();
  return sum;
}

std::size_t DevPane::itemCount() const {
  std::size_t count = 0;
  for (const auto& group : visibleGroups()) count += group->items().size();
  return count;
}

std::vector<DevItem> DevPane::selectedItems() const {
  std::vector<DevItem> selected;
  for (const auto& group : visibleGroups()) {
    for (const auto& item : group->items()) {
      if (item.selected) selected.push_back(item);
    }
  }
  return selected;
}

std::int64_t DevPane::selectedTotal() const { return freeableSum(selectedItems()); }

void DevPane::load(std::function<void()> then) {
  if (then) waiters_.push_back(std::move(then));
  if (loading_) return;  // the running load will call the new waiter too
  loading_ = true;
  notify("loading");
  const auto started = std::chrono::steady_clock::now();
  auto self = shared_from_this();
  runInBackground([self, started] {
    ProviderResult result = self->provider_();
    self->dispatcher_(
        [self, started, result = std::move(result)]() mutable { self->apply(std::move(result), started); });
  });
}

void DevPane::apply(ProviderResult result, std::chrono::steady_clock::time_point started) {
  groups_ = std::move(result.groups);
  notify("groups");
  if (result.note != note_) {
    note_ = std::move(result.note);
    notify("note");
  }
  if (!sampleDataMode()) {
    const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - started).count();
    if (seconds != scanTime_) {
      scanTime_ = seconds;
      notify("scanTime");
    }
  }
  loading_ = false;
  notify("loading");
  if (!loaded_) {
    loaded_ = true;
    notify("loaded");
  }
  auto waiters = std::move(waiters_);
  waiters_.clear();
  for (auto& waiter : waiters) waiter();
}

}  // namespace tw
