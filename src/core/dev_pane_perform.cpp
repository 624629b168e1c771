#include "core/dev_pane.h"
#include "core/removal_service.h"

namespace tw {

void DevPane::perform(std::vector<DevItem> items, std::optional<DevAction> override, std::function<void()> completion) {
  busy_ = true;
  notify(DevPaneField::busy);
  finished_.store(0, std::memory_order_relaxed);
  notify(DevPaneField::progress);
  if (message_) {
    message_.reset();
    notify(DevPaneField::message);
  }
  runner_.start([this, items = std::move(items), override = std::move(override),
                 completion = std::move(completion)](std::stop_token stop) mutable -> TaskRunner::Result {
    std::vector<RemovalItem> removals;
    removals.reserve(items.size());
    for (const auto& item : items) removals.push_back(RemovalItem::of(item, override));
    RemovalOptions options;
    // Extra actions are neither counted nor recorded.
    if (!override) options.category = "Developer";
    options.finished = &finished_;
    const RemovalReport report = runRemovals(context_.withStop(stop), removals, options);
    return [this, message = report.summary(removals), completion = std::move(completion)]() mutable {
      finishPerform(std::move(message), std::move(completion));
    };
  });
}

void DevPane::finishPerform(std::string message, std::function<void()> completion) {
  notify(DevPaneField::progress);
  message_ = std::move(message);
  notify(DevPaneField::message);
  busy_ = false;
  notify(DevPaneField::busy);
  load([completion = std::move(completion)] {
    if (completion) completion();
  });
}

}  // namespace tw
