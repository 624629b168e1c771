#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <mutex>

#include "core/concurrent.h"
#include "core/dev_pane.h"
#include "core/format.h"
#include "core/history.h"
#include "core/perform_in_order.h"

namespace tw {
namespace {

constexpr std::size_t failuresShown = 3;

bool onlyDirectRemovals(const std::vector<DevItem>& items) {
  for (const auto& item : items) {
    if (!std::holds_alternative<DevAction::RemovePaths>(item.action.value)) return false;
  }
  return true;
}

// Runs every item's action (or the override) and returns one error slot per item.
// `finished` hears the running count of finished items, in order.
std::vector<std::optional<std::string>> performAll(const std::vector<DevItem>& items,
                                                   const std::optional<DevAction>& override,
                                                   const std::function<void(int)>& finished) {
  // Password prompts, Trash moves and tool commands run one at a time, in the given order,
  // with one prompt for all administrator commands.
  if (override || !onlyDirectRemovals(items)) {
    std::vector<DevAction> actions;
    actions.reserve(items.size());
    for (const auto& item : items) actions.push_back(override ? *override : item.action);
    return performInOrder(actions, [&](std::size_t count) { finished(static_cast<int>(count)); });
  }
  // Plain deletions may run side by side.
  std::vector<std::optional<std::string>> errors(items.size());  // each slot written once
  std::mutex countLock;
  int count = 0;
  concurrentPerform(items.size(), [&](std::size_t index) {
    errors[index] = items[index].action.perform();
    std::lock_guard lock(countLock);  // reporting under the lock keeps the counts in order
    finished(++count);
  });
  return errors;
}

std::string summary(std::int64_t freed, const std::vector<std::string>& failures) {
  std::string message = freed < 1 ? std::string("Done.") : fmt::format("Freed {}.", byteFormatter(freed));
  if (failures.empty()) return message;
  const auto shown = std::vector<std::string>(
      failures.begin(), failures.begin() + static_cast<std::ptrdiff_t>(std::min(failures.size(), failuresShown)));
  return fmt::format("{} {} failed: {}", message, failures.size(), fmt::join(shown, " · "));
}

// Adds up what was freed and writes the history, one record after another: records made
// at the same moment could drop each other's entry. Overrides (extra actions) are neither
// counted nor recorded. Returns the result message.
std::string account(const std::vector<DevItem>& items, const std::vector<std::optional<std::string>>& errors,
                    bool overridden) {
  std::int64_t freed = 0;
  std::vector<std::string> failures;
  for (std::size_t index = 0; index < items.size(); ++index) {
    const DevItem& item = items[index];
    if (errors[index]) {
      failures.push_back(item.name + ": " + *errors[index]);
    } else if (!overridden) {
      const std::int64_t bytes = item.freeable.value_or(0);
      freed += bytes;
      History::record("Developer", item.name, bytes, item.restoreHint);
    }
  }
  return summary(freed, failures);
}

}  // namespace

void DevPane::perform(std::vector<DevItem> items, std::optional<DevAction> override, std::function<void()> completion) {
  busy_ = true;
  notify("busy");
  setProgress(0);
  if (message_) {
    message_.reset();
    notify("message");
  }
  auto self = shared_from_this();
  runInBackground(
      [self, items = std::move(items), override = std::move(override), completion = std::move(completion)]() mutable {
        const auto errors = performAll(
            items, override, [&self](int count) { self->dispatcher_([self, count] { self->setProgress(count); }); });
        std::string message = account(items, errors, override.has_value());
        self->dispatcher_([self, message = std::move(message), completion = std::move(completion)]() mutable {
          self->finishPerform(std::move(message), std::move(completion));
        });
      });
}

void DevPane::setProgress(int progress) {
  done_ = progress;
  if (progress == progress_) return;
  progress_ = progress;
  notify("progress");
}

void DevPane::finishPerform(std::string message, std::function<void()> completion) {
  message_ = std::move(message);
  notify("message");
  busy_ = false;
  notify("busy");
  load([completion = std::move(completion)] {
    if (completion) completion();
  });
}

}  // namespace tw
