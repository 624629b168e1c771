#pragma once

#include <memory>

#include "automation/background.h"
#include "core/context.h"

namespace tw::app {

// The app's background runner, started: it ticks on `timers` (the event loop's, unless a
// test brings its own), reads the home volume's free space and notifies on the desktop's
// session bus. It runs until the returned runner goes.
[[nodiscard]] std::unique_ptr<Background> startBackgroundRunner(const Context& context,
                                                                std::shared_ptr<Timers> timers = {});

}  // namespace tw::app
