#include "core/dispatcher.h"

namespace tw {

Dispatcher QueueDispatcher::dispatcher() {
  return [this](std::function<void()> closure) {
    {
      std::lock_guard lock(mutex_);
      queue_.push_back(std::move(closure));
    }
    posted_.notify_all();
  };
}

void QueueDispatcher::drain() {
  for (;;) {
    std::function<void()> next;
    {
      std::lock_guard lock(mutex_);
      if (queue_.empty()) return;
      next = std::move(queue_.front());
      queue_.pop_front();
    }
    next();
  }
}

bool QueueDispatcher::runUntil(const std::function<bool()>& done, std::chrono::milliseconds timeout) {
  const auto deadline = std::chrono::steady_clock::now() + timeout;
  while (!done()) {
    std::function<void()> next;
    {
      std::unique_lock lock(mutex_);
      if (!posted_.wait_until(lock, deadline, [this] { return !queue_.empty(); })) return done();
      next = std::move(queue_.front());
      queue_.pop_front();
    }
    next();
  }
  return true;
}

}  // namespace tw
