#pragma once

#include <atomic>
#include <functional>
#include <list>
#include <memory>
#include <stop_token>
#include <thread>

#include "core/dispatcher.h"

namespace tw {

// The background jobs of one owner (a model). Each job runs on a thread of its own with
// a stop token; the closure it returns runs once on the owner's thread, through the
// owner's dispatcher, and only while the runner still exists. The owner cancels and joins
// its jobs when it goes away, so nothing is detached and nothing a job hands back arrives
// after its owner is gone. Start, cancel and join on the owner's thread.
class TaskRunner {
 public:
  // What a job hands back: runs on the owner's thread.
  using Result = std::function<void()>;
  using Job = std::function<Result(std::stop_token)>;
  // Posts a closure to the owner's thread, dropped when the runner is gone by then. Safe
  // to call from any thread, also after the runner is gone.
  using Poster = std::function<void(Result)>;

  explicit TaskRunner(Dispatcher owner);
  ~TaskRunner();
  TaskRunner(const TaskRunner&) = delete;
  TaskRunner& operator=(const TaskRunner&) = delete;

  void start(Job job);
  // Asks every running job to stop; their results are still posted, so owners that
  // wait for them are not left hanging.
  void cancelAll();
  // Waits for every job to end. Never call it from a job.
  void joinAll();
  [[nodiscard]] bool idle() const;

  // For jobs that hand back more than their result (batches of measurements, say).
  [[nodiscard]] Poster poster() const;

 private:
  struct Running {
    std::jthread thread;
    std::shared_ptr<std::atomic<bool>> finished;
  };
  void reapFinished();

  Dispatcher owner_;
  // Posted closures hold this weakly: once the runner is gone they do nothing.
  std::shared_ptr<const bool> alive_ = std::make_shared<const bool>(true);
  std::list<Running> running_;
};

}  // namespace tw
