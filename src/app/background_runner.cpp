#include "app/background_runner.h"

#include "app/qt_dispatcher.h"
#include "app/qt_timers.h"

namespace tw::app {

std::unique_ptr<Background> startBackgroundRunner(const Context& context, std::shared_ptr<Timers> timers) {
  if (!timers) timers = std::make_shared<QtTimers>();
  auto runner =
      std::make_unique<Background>(context, Background::Services::system(context, std::move(timers)), qtDispatcher());
  runner->start();
  return runner;
}

}  // namespace tw::app
