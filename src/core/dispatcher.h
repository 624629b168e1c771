#pragma once

#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>

namespace tw {

// Hands a closure to the thread that owns the observable models. The app posts to its
// event loop; the command line and tests use a QueueDispatcher that they drain.
using Dispatcher = std::function<void(std::function<void()>)>;

class QueueDispatcher {
 public:
  [[nodiscard]] Dispatcher dispatcher();

  // Runs every queued closure, including ones queued while draining.
  void drain();
  // Waits for closures and runs them until `done` holds; false when the wait timed out.
  bool runUntil(const std::function<bool()>& done, std::chrono::milliseconds timeout);

 private:
  std::mutex mutex_;
  std::condition_variable posted_;
  std::deque<std::function<void()>> queue_;
};

}  // namespace tw
