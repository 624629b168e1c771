#pragma once

#include <chrono>
#include <cstddef>
#include <mutex>
#include <optional>
#include <vector>

#include "core/action_outcome.h"
#include "core/history.h"
#include "core/removal_service.h"

namespace tw {

// Writes a run's successes to the history as they come, in the items' order, a batch at
// a time: one write per `batchSize` entries or per `batchInterval`, and the rest at the
// end. A crash in a long run loses at most the batch not yet written, and the log is
// rewritten a handful of times instead of once per item.
class RemovalRecorder {
 public:
  static constexpr std::size_t batchSize = 256;
  static constexpr std::chrono::milliseconds batchInterval{1000};

  // Records nothing without a history or a category; with a batch name, one entry for the
  // whole run when it ends.
  RemovalRecorder(History* history, const std::vector<RemovalItem>& items, const RemovalOptions& options);
  RemovalRecorder(const RemovalRecorder&) = delete;
  RemovalRecorder& operator=(const RemovalRecorder&) = delete;

  // Item `index` ended with `outcome` (any thread, once per item).
  void finished(std::size_t index, const ActionOutcome& outcome);
  // Writes what is still waiting; every item has finished.
  void close(const RemovalReport& report);

  // A success, or a removal that stopped part way but still removed something.
  [[nodiscard]] static bool removedSomething(const ActionOutcome& outcome);

 private:
  [[nodiscard]] bool recordsEachItem() const;
  void collectFinishedPrefix();
  void write();

  History* const history_;
  const std::vector<RemovalItem>& items_;
  const RemovalOptions& options_;
  std::mutex lock_;
  std::vector<std::optional<ActionOutcome>> ended_;
  std::size_t nextInOrder_ = 0;  // every item before it is collected
  std::vector<HistoryRecord> waiting_;
  std::chrono::steady_clock::time_point lastWrite_ = std::chrono::steady_clock::now();
};

}  // namespace tw
