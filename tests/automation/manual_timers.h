#pragma once

#include <algorithm>
#include <chrono>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <vector>

#include "automation/timers.h"

namespace tw::test {

// Timers that fire only when the test moves the clock on, on the test's thread, in the
// order they fall due. The time may be read from any thread.
class ManualTimers : public Timers {
 public:
  explicit ManualTimers(Date start) : now_(start) {}

  [[nodiscard]] Date now() const override {
    std::lock_guard lock(mutex_);
    return now_;
  }

  std::unique_ptr<Handle> every(std::chrono::milliseconds interval, std::function<void()> fire) override {
    return schedule(interval, interval, std::move(fire));
  }
  std::unique_ptr<Handle> after(std::chrono::milliseconds delay, std::function<void()> fire) override {
    return schedule(delay, std::chrono::milliseconds::zero(), std::move(fire));
  }

  // Moves the clock on by `span`, firing every timer that falls due on the way, each at
  // its own moment; `between` runs after each firing (to let the test drain its queue).
  void advance(std::chrono::milliseconds span, const std::function<void()>& between = {}) {
    const Date end = now() + span;
    while (auto next = nextDue(end)) {
      {
        std::lock_guard lock(mutex_);
        now_ = next->due;
      }
      if (!next->entry->cancelled) next->entry->fire();
      if (between) between();
    }
    std::lock_guard lock(mutex_);
    now_ = end;
  }

  // Timers still scheduled.
  [[nodiscard]] std::size_t scheduled() const {
    std::lock_guard lock(mutex_);
    return static_cast<std::size_t>(
        std::count_if(entries_.begin(), entries_.end(), [](const auto& entry) { return !entry->cancelled; }));
  }

 private:
  struct Entry {
    Date due;
    std::chrono::milliseconds interval;  // zero: fires once
    std::function<void()> fire;
    bool cancelled = false;
  };
  class Scheduled : public Handle {
   public:
    explicit Scheduled(std::shared_ptr<Entry> entry) : entry_(std::move(entry)) {}
    ~Scheduled() override { entry_->cancelled = true; }

   private:
    std::shared_ptr<Entry> entry_;
  };
  struct Due {
    Date due;
    std::shared_ptr<Entry> entry;
  };

  std::unique_ptr<Handle> schedule(std::chrono::milliseconds delay, std::chrono::milliseconds interval,
                                   std::function<void()> fire) {
    std::lock_guard lock(mutex_);
    auto entry = std::make_shared<Entry>(Entry{now_ + delay, interval, std::move(fire)});
    entries_.push_back(entry);
    return std::make_unique<Scheduled>(entry);
  }

  // The earliest live timer due by `end`, rescheduled (or retired) before it fires.
  std::optional<Due> nextDue(Date end) {
    std::lock_guard lock(mutex_);
    std::erase_if(entries_, [](const auto& entry) { return entry->cancelled; });
    auto earliest = std::min_element(entries_.begin(), entries_.end(),
                                     [](const auto& a, const auto& b) { return a->due < b->due; });
    if (earliest == entries_.end() || (*earliest)->due > end) return std::nullopt;
    auto entry = *earliest;
    Due due{entry->due, entry};
    if (entry->interval.count() > 0) {
      entry->due += entry->interval;
    } else {
      entries_.erase(earliest);
    }
    return due;
  }

  mutable std::mutex mutex_;
  Date now_;
  std::vector<std::shared_ptr<Entry>> entries_;
};

}  // namespace tw::test
