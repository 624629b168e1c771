#pragma once

#include <chrono>
#include <functional>
#include <memory>

#include "core/date.h"

namespace tw {

// What the background runner needs from its owner's event loop: the time, and timers that
// fire on the owner's thread. The app gives it one backed by its event loop; tests give it
// a manual one that they advance, so a week of ticks runs in milliseconds.
class Timers {
 public:
  // A scheduled timer; destroying it cancels it.
  class Handle {
   public:
    virtual ~Handle() = default;
  };

  virtual ~Timers() = default;

  [[nodiscard]] virtual Date now() const = 0;
  // Calls `fire` every `interval` until the handle goes.
  [[nodiscard]] virtual std::unique_ptr<Handle> every(std::chrono::milliseconds interval,
                                                      std::function<void()> fire) = 0;
  // Calls `fire` once after `delay`, unless the handle went first.
  [[nodiscard]] virtual std::unique_ptr<Handle> after(std::chrono::milliseconds delay, std::function<void()> fire) = 0;
};

}  // namespace tw
