#pragma once

#include "automation/timers.h"

namespace tw::app {

// The background runner's timers on the Qt event loop of the thread that asks for them,
// with the wall clock for the time.
class QtTimers : public Timers {
 public:
  [[nodiscard]] Date now() const override;
  [[nodiscard]] std::unique_ptr<Handle> every(std::chrono::milliseconds interval, std::function<void()> fire) override;
  [[nodiscard]] std::unique_ptr<Handle> after(std::chrono::milliseconds delay, std::function<void()> fire) override;
};

}  // namespace tw::app
