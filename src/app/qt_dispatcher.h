#pragma once

#include "core/dispatcher.h"

namespace tw::app {

// Posts each closure to the Qt event loop of the application's main thread.
[[nodiscard]] Dispatcher qtDispatcher();

}  // namespace tw::app
