#include "core/dev_pane.h"

#include "core/scan_cache.h"
#include "core/sizes.h"

namespace tw {

std::shared_ptr<DevPane> DevPane::make(Provider provider, std::optional<std::string> cacheKey, Dispatcher dispatcher,
                                       Context context) {
  return std::shared_ptr<DevPane>(
      new DevPane(std::move(provider), std::move(cacheKey), std::move(dispatcher), std::move(context)));
}

DevPane::DevPane(Provider provider, std::optional<std::string> cacheKey, Dispatcher dispatcher, Context context)
    : provider_(std::move(provider)),
      cacheKey_(std::move(cacheKey)),
      context_(std::move(context)),
      runner_(std::move(dispatcher)) {}

DevPane::~DevPane() = default;

void DevPane::setStaleOnly(bool staleOnly) {
  if (staleOnly == staleOnly_) return;
  staleOnly_ = staleOnly;
  notify(DevPaneField::staleOnly);
}

std::vector<DevGroupPtr> DevPane::visibleGroups(Date now) const {
  if (!staleOnly_) return groups_;
  const auto cutoff = now - staleAge;
  std::vector<DevGroupPtr> stale;
  for (const auto& group : groups_) {
    if (group->lastActive && *group->lastActive < cutoff) stale.push_back(group);
  }
  return stale;
}

std::int64_t DevPane::total() const {
  std::int64_t sum = 0;
  for (const auto& group : visibleGroups()) sum = saturatingAdd(sum, group->total());
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
      if (selection_.contains(item.id)) selected.push_back(item);
    }
  }
  return selected;
}

std::int64_t DevPane::selectedTotal() const { return selectionSummary().freeable; }

DevPane::SelectionSummary DevPane::selectionSummary() const {
  SelectionSummary summary;
  for (const auto& group : visibleGroups()) {
    for (const auto& item : group->items()) {
      if (!selection_.contains(item.id)) continue;
      ++summary.count;
      summary.freeable = saturatingAdd(summary.freeable, item.freeable.value_or(0));
    }
  }
  return summary;
}

void DevPane::setSelected(const std::string& id, bool selected) {
  if (!rowOf_.contains(id) || !selection_.set(id, selected)) return;
  announceSelection({id});
}

void DevPane::setSelection(std::set<std::string> ids) {
  std::erase_if(ids, [this](const std::string& id) { return !rowOf_.contains(id); });
  std::set<std::string> changed;
  for (const auto& id : selection_.ids()) {
    if (!ids.contains(id)) changed.insert(id);
  }
  for (const auto& id : ids) {
    if (!selection_.contains(id)) changed.insert(id);
  }
  if (!selection_.assign(std::move(ids))) return;
  announceSelection(changed);
}

void DevPane::announceSelection(const std::set<std::string>& changedIds) {
  std::map<std::size_t, std::vector<std::size_t>> rowsByGroup;
  for (const auto& id : changedIds) {
    if (const auto at = rowOf_.find(id); at != rowOf_.end()) rowsByGroup[at->second.first].push_back(at->second.second);
  }
  for (auto& [group, rows] : rowsByGroup) groups_[group]->announceSelection(std::move(rows));
  notify(DevPaneField::selection);
}

void DevPane::selectPreselected() {
  rowOf_.clear();
  std::set<std::string> preselected;
  for (std::size_t group = 0; group < groups_.size(); ++group) {
    const auto& items = groups_[group]->items();
    for (std::size_t row = 0; row < items.size(); ++row) {
      rowOf_.emplace(items[row].id, std::pair{group, row});
      if (items[row].selected) preselected.insert(items[row].id);
    }
  }
  selection_.assign(std::move(preselected));
}

void DevPane::load(std::function<void()> then) {
  if (then) waiters_.push_back(std::move(then));
  if (loading_) return;  // the running load will call the new waiter too
  loading_ = true;
  notify(DevPaneField::loading);
  const auto started = std::chrono::steady_clock::now();
  runner_.start([this, started](std::stop_token stop) -> TaskRunner::Result {
    ProviderResult result = provider_(context_.withStop(stop));
    // A stopped load keeps what the pane showed: a half-walked result would mislead.
    if (stop.stop_requested()) return [this, started] { apply(std::nullopt, started); };
    return [this, started, result = std::move(result)]() mutable { apply(std::move(result), started); };
  });
}

void DevPane::apply(std::optional<ProviderResult> result, std::chrono::steady_clock::time_point started) {
  if (result) {
    groups_ = std::move(result->groups);
    selectPreselected();
    notify(DevPaneField::groups);
    notify(DevPaneField::selection);
    if (result->note != note_) {
      note_ = std::move(result->note);
      notify(DevPaneField::note);
    }
    if (!context_.sampleData) {
      const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - started).count();
      if (seconds != scanTime_) {
        scanTime_ = seconds;
        notify(DevPaneField::scanTime);
      }
    }
  }
  loading_ = false;
  notify(DevPaneField::loading);
  if (result && !loaded_) {
    loaded_ = true;
    notify(DevPaneField::loaded);
  }
  if (result && cacheKey_) ScanCache::save(context_, *cacheKey_, total(), static_cast<std::int64_t>(itemCount()));
  auto waiters = std::move(waiters_);
  waiters_.clear();
  for (auto& waiter : waiters) waiter();
}

void DevPane::cancel() { runner_.cancelAll(); }

}  // namespace tw
