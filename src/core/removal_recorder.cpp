#include "core/removal_recorder.h"

namespace tw {

RemovalRecorder::RemovalRecorder(History* history, const std::vector<RemovalItem>& items, const RemovalOptions& options)
    : history_(history), items_(items), options_(options), ended_(items.size()) {}

bool RemovalRecorder::removedSomething(const ActionOutcome& outcome) {
  if (outcome.status == ActionOutcome::Status::done) return true;
  return outcome.freed > 0 && (outcome.status == ActionOutcome::Status::failed ||
                               outcome.status == ActionOutcome::Status::needsAdministrator);
}

bool RemovalRecorder::recordsEachItem() const { return history_ && options_.category && !options_.batchName; }

void RemovalRecorder::finished(std::size_t index, const ActionOutcome& outcome) {
  if (!recordsEachItem()) return;
  std::lock_guard guard(lock_);
  ended_[index] = outcome;
  collectFinishedPrefix();
  const bool due = waiting_.size() >= batchSize || std::chrono::steady_clock::now() - lastWrite_ >= batchInterval;
  // Written under the lock, so that batches reach the log in the items' order.
  if (due && !waiting_.empty()) write();
}

void RemovalRecorder::collectFinishedPrefix() {
  while (nextInOrder_ < ended_.size() && ended_[nextInOrder_]) {
    const ActionOutcome& outcome = *ended_[nextInOrder_];
    const RemovalItem& item = items_[nextInOrder_];
    if (removedSomething(outcome)) waiting_.push_back({*options_.category, item.name, outcome.freed, item.restore});
    ended_[nextInOrder_].reset();
    ++nextInOrder_;
  }
}

void RemovalRecorder::write() {
  history_->record(waiting_);
  waiting_.clear();
  lastWrite_ = std::chrono::steady_clock::now();
}

void RemovalRecorder::close(const RemovalReport& report) {
  if (!history_ || !options_.category) return;
  if (options_.batchName) {
    const std::size_t done = report.count(ActionOutcome::Status::done);
    if (done > 0)
      history_->record({{*options_.category, options_.batchName(done), report.freed, options_.batchRestore}});
    return;
  }
  std::lock_guard guard(lock_);
  for (std::size_t index = nextInOrder_; index < ended_.size(); ++index) {
    if (!ended_[index]) ended_[index] = report.outcomes[index];
  }
  collectFinishedPrefix();
  if (!waiting_.empty()) write();
}

}  // namespace tw
