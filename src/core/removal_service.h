#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "core/action_outcome.h"
#include "core/context.h"
#include "core/dev_item.h"

namespace tw {

// One thing to remove, as the removal service runs it.
struct RemovalItem {
  std::string name;  // for failures and the history
  std::optional<std::string> restore;
  // Removes the item (on a worker thread) and says how that ended and what it freed.
  std::function<ActionOutcome(const Context&)> remove;
  // Items that touch only their own files (plain deletions, sharing a copy's blocks) may
  // run side by side; anything else (password prompts, Trash moves, tool commands) runs
  // one at a time, in order.
  bool independent = false;
  // Instead of `remove`: a shell command run with administrator rights, which frees
  // `freeable` when it succeeds. Every such command of one run goes to the system in one
  // privileged call when the first of them is reached, so the user sees one password prompt.
  struct AdministratorCommand {
    std::string command;
    std::int64_t freeable = 0;
  };
  std::optional<AdministratorCommand> administrator;

  // An item's own action, which frees its freeable bytes, or `override` (an extra
  // action), which frees nothing that is counted.
  [[nodiscard]] static RemovalItem of(const DevItem& item, const std::optional<DevAction>& override = std::nullopt);
  // A plain deletion, which may run beside others.
  [[nodiscard]] static RemovalItem deletion(std::string name, std::function<ActionOutcome(const Context&)> remove);
};

struct RemovalOptions {
  // Where successes go in the history; nothing is recorded without one.
  std::optional<std::string> category;
  // With a name for the batch, one entry for the whole run (named from the number of items
  // done, with everything freed) instead of one per item.
  std::function<std::string(std::size_t done)> batchName;
  std::optional<std::string> batchRestore;
  // Even plain deletions run one after another, in order.
  bool oneAtATime = false;
  // Told the index of each item just before it is removed (from the worker running it).
  std::function<void(std::size_t index)> starting;
  // Counts finished items as they finish, for a view that polls it.
  std::atomic<std::size_t>* finished = nullptr;
};

struct RemovalReport {
  std::vector<ActionOutcome> outcomes;  // one per item, in the items' order
  std::int64_t freed = 0;

  [[nodiscard]] std::size_t count(ActionOutcome::Status status) const;
  // "Done." when nothing was freed, otherwise "Freed <size>."; with failures, then
  // " <n> failed: " and the first three "name: reason" joined with " · ".
  [[nodiscard]] std::string summary(const std::vector<RemovalItem>& items) const;
};

// The one place that carries out a batch of removals: every item fails alone, items not
// yet started when the context's stop token fires come back cancelled, the administrator
// commands of the batch share one password prompt, and the successes are written to the
// history a batch at a time, in the items' order.
[[nodiscard]] RemovalReport runRemovals(const Context& context, const std::vector<RemovalItem>& items,
                                        const RemovalOptions& options = {});

}  // namespace tw
