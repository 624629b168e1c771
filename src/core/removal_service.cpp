#include "core/removal_service.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>

#include "core/admin_batch.h"
#include "core/concurrent.h"
#include "core/dev_safety.h"
#include "core/format.h"
#include "core/history.h"
#include "core/sizes.h"

namespace tw {
namespace {

constexpr std::size_t failuresShown = 3;

bool allPlainDeletions(const std::vector<RemovalItem>& items) {
  return std::all_of(items.begin(), items.end(), [](const RemovalItem& item) { return item.plainDeletion; });
}

ActionOutcome removeOne(const Context& context, const RemovalItem& item, std::size_t index,
                        const RemovalOptions& options) {
  if (context.stopRequested()) return ActionOutcome::cancellation();
  if (options.starting) options.starting(index);
  ActionOutcome outcome = item.remove ? item.remove(context) : ActionOutcome::success();
  if (options.finished) options.finished->fetch_add(1, std::memory_order_relaxed);
  return outcome;
}

// Runs the administrator commands of every item from `first` on in one privileged call
// and fills in their outcomes.
void removeAsAdministrator(const Context& context, const std::vector<RemovalItem>& items, std::size_t first,
                           const RemovalOptions& options, std::vector<std::optional<ActionOutcome>>& outcomes) {
  std::vector<std::size_t> batch;
  std::vector<std::string> commands;
  for (std::size_t index = first; index < items.size(); ++index) {
    if (!items[index].administrator) continue;
    batch.push_back(index);
    commands.push_back(items[index].administrator->command);
    if (options.starting && !context.stopRequested()) options.starting(index);
  }
  const auto results = runAllAsAdministrator(commands, context);
  for (std::size_t slot = 0; slot < batch.size(); ++slot) {
    const RemovalItem& item = items[batch[slot]];
    ActionOutcome outcome = results[slot];
    if (outcome.succeeded()) outcome = ActionOutcome::success(item.administrator->freeable);
    outcomes[batch[slot]] = std::move(outcome);
    if (options.finished) options.finished->fetch_add(1, std::memory_order_relaxed);
  }
}

// One at a time, in order, except that the administrator commands all run together.
void removeInOrder(const Context& context, const std::vector<RemovalItem>& items, const RemovalOptions& options,
                   std::vector<ActionOutcome>& outcomes) {
  std::vector<std::optional<ActionOutcome>> ended(items.size());
  for (std::size_t index = 0; index < items.size(); ++index) {
    if (ended[index]) continue;
    if (items[index].administrator) {
      removeAsAdministrator(context, items, index, options, ended);
    } else {
      ended[index] = removeOne(context, items[index], index, options);
    }
  }
  for (std::size_t index = 0; index < items.size(); ++index) outcomes[index] = std::move(*ended[index]);
}

bool freedSomething(const ActionOutcome& outcome) {
  return outcome.freed > 0 && (outcome.status == ActionOutcome::Status::failed ||
                               outcome.status == ActionOutcome::Status::needsAdministrator);
}

std::vector<HistoryRecord> historyRecords(const std::vector<RemovalItem>& items, const RemovalReport& report,
                                          const RemovalOptions& options) {
  std::vector<HistoryRecord> records;
  if (!options.category) return records;
  if (options.batchName) {
    const std::size_t done = report.count(ActionOutcome::Status::done);
    if (done > 0) records.push_back({*options.category, options.batchName(done), report.freed, options.batchRestore});
    return records;
  }
  for (std::size_t index = 0; index < items.size(); ++index) {
    const ActionOutcome& outcome = report.outcomes[index];
    // A removal that stopped part way still removed something, and is logged with it.
    if (outcome.status == ActionOutcome::Status::done || freedSomething(outcome)) {
      records.push_back({*options.category, items[index].name, outcome.freed, items[index].restore});
    }
  }
  return records;
}

}  // namespace

RemovalItem RemovalItem::of(const DevItem& item, const std::optional<DevAction>& override) {
  RemovalItem removal;
  removal.name = item.name;
  removal.restore = item.restoreHint;
  const DevAction action = override ? *override : item.action;
  removal.plainDeletion = !override && std::holds_alternative<DevAction::RemovePaths>(action.value);
  const std::int64_t freeable = override ? 0 : item.freeable.value_or(0);
  if (const auto* admin = std::get_if<DevAction::Admin>(&action.value)) {
    removal.administrator = AdministratorCommand{admin->command, freeable};
    return removal;
  }
  removal.remove = [action, freeable, counted = !override](const Context& context) {
    ActionOutcome outcome = action.perform(context);
    if (outcome.status == ActionOutcome::Status::done) outcome = ActionOutcome::success(freeable);
    if (!counted) outcome.freed = 0;
    return outcome;
  };
  return removal;
}

RemovalItem RemovalItem::deletion(std::string name, std::function<ActionOutcome(const Context&)> remove) {
  RemovalItem removal;
  removal.name = std::move(name);
  removal.remove = std::move(remove);
  removal.plainDeletion = true;
  return removal;
}

std::size_t RemovalReport::count(ActionOutcome::Status status) const {
  return static_cast<std::size_t>(std::count_if(
      outcomes.begin(), outcomes.end(), [status](const ActionOutcome& outcome) { return outcome.status == status; }));
}

std::string RemovalReport::summary(const std::vector<RemovalItem>& items) const {
  std::vector<std::string> failures;
  for (std::size_t index = 0; index < outcomes.size(); ++index) {
    if (const auto error = outcomes[index].error()) failures.push_back(items[index].name + ": " + *error);
  }
  std::string message = freed < 1 ? std::string("Done.") : fmt::format("Freed {}.", byteFormatter(freed));
  if (failures.empty()) return message;
  const auto shown = std::vector<std::string>(
      failures.begin(), failures.begin() + static_cast<std::ptrdiff_t>(std::min(failures.size(), failuresShown)));
  return fmt::format("{} {} failed: {}", message, failures.size(), fmt::join(shown, " · "));
}

RemovalReport runRemovals(const Context& context, const std::vector<RemovalItem>& items,
                          const RemovalOptions& options) {
  RemovalReport report;
  if (const auto refusal = DevSafety::refusalOfRemovals(context)) {
    report.outcomes.assign(items.size(), ActionOutcome::failure(*refusal));
    return report;
  }
  report.outcomes.resize(items.size());  // each slot written once
  if (!options.oneAtATime && allPlainDeletions(items)) {
    concurrentPerform(items.size(), [&](std::size_t index) {
      report.outcomes[index] = removeOne(context, items[index], index, options);
    });
  } else {
    removeInOrder(context, items, options, report.outcomes);
  }
  for (const auto& outcome : report.outcomes) {
    if (outcome.status == ActionOutcome::Status::done || freedSomething(outcome)) {
      report.freed = saturatingAdd(report.freed, outcome.freed);
    }
  }
  // One write for the whole batch: recording item by item would rewrite the log each time.
  if (context.history) context.history->record(historyRecords(items, report, options));
  return report;
}

}  // namespace tw
