#include "core/removal_service.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>

#include "core/admin_batch.h"
#include "core/concurrent.h"
#include "core/dev_safety.h"
#include "core/format.h"
#include "core/history.h"
#include "core/removal_recorder.h"
#include "core/sizes.h"

namespace tw {
namespace {

constexpr std::size_t failuresShown = 3;

bool allIndependent(const std::vector<RemovalItem>& items) {
  return std::all_of(items.begin(), items.end(), [](const RemovalItem& item) { return item.independent; });
}

// What the items of one run share while they are removed.
struct Run {
  const Context& context;
  const std::vector<RemovalItem>& items;
  const RemovalOptions& options;
  RemovalRecorder& recorder;

  void ended(std::size_t index, const ActionOutcome& outcome) const {
    recorder.finished(index, outcome);
    if (options.finished) options.finished->fetch_add(1, std::memory_order_relaxed);
  }
};

ActionOutcome removeOne(const Run& run, std::size_t index) {
  if (run.context.stopRequested()) {
    run.recorder.finished(index, ActionOutcome::cancellation());
    return ActionOutcome::cancellation();
  }
  if (run.options.starting) run.options.starting(index);
  const RemovalItem& item = run.items[index];
  ActionOutcome outcome = item.remove ? item.remove(run.context) : ActionOutcome::success();
  run.ended(index, outcome);
  return outcome;
}

// Runs the administrator commands of every item from `first` on in one privileged call
// and fills in their outcomes.
void removeAsAdministrator(const Run& run, std::size_t first, std::vector<std::optional<ActionOutcome>>& outcomes) {
  const Context& context = run.context;
  const std::vector<RemovalItem>& items = run.items;
  std::vector<std::size_t> batch;
  std::vector<std::string> commands;
  for (std::size_t index = first; index < items.size(); ++index) {
    if (!items[index].administrator) continue;
    batch.push_back(index);
    commands.push_back(items[index].administrator->command);
    if (run.options.starting && !context.stopRequested()) run.options.starting(index);
  }
  const auto results = runAllAsAdministrator(commands, context);
  for (std::size_t slot = 0; slot < batch.size(); ++slot) {
    const RemovalItem& item = items[batch[slot]];
    ActionOutcome outcome = results[slot];
    if (outcome.succeeded()) outcome = ActionOutcome::success(item.administrator->freeable);
    run.ended(batch[slot], outcome);
    outcomes[batch[slot]] = std::move(outcome);
  }
}

// One at a time, in order, except that the administrator commands all run together.
void removeInOrder(const Run& run, std::vector<ActionOutcome>& outcomes) {
  std::vector<std::optional<ActionOutcome>> ended(run.items.size());
  for (std::size_t index = 0; index < run.items.size(); ++index) {
    if (ended[index]) continue;
    if (run.items[index].administrator) {
      removeAsAdministrator(run, index, ended);
    } else {
      ended[index] = removeOne(run, index);
    }
  }
  for (std::size_t index = 0; index < run.items.size(); ++index) outcomes[index] = std::move(*ended[index]);
}

}  // namespace

RemovalItem RemovalItem::of(const DevItem& item, const std::optional<DevAction>& override) {
  RemovalItem removal;
  removal.name = item.name;
  removal.restore = item.restoreHint;
  const DevAction action = override ? *override : item.action;
  removal.independent = !override && action.touchesOnlyItsOwnFiles();
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
  removal.independent = true;
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
  RemovalRecorder recorder(context.history.get(), items, options);
  const Run run{context, items, options, recorder};
  if (!options.oneAtATime && allIndependent(items)) {
    concurrentPerform(items.size(), [&](std::size_t index) { report.outcomes[index] = removeOne(run, index); });
  } else {
    removeInOrder(run, report.outcomes);
  }
  for (const auto& outcome : report.outcomes) {
    if (RemovalRecorder::removedSomething(outcome)) report.freed = saturatingAdd(report.freed, outcome.freed);
  }
  recorder.close(report);
  return report;
}

}  // namespace tw
