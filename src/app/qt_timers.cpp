#include "app/qt_timers.h"

#include <QTimer>

namespace tw::app {
namespace {

// A QTimer that stops when its handle goes.
class TimerHandle : public Timers::Handle {
 public:
  TimerHandle(std::chrono::milliseconds interval, bool once, std::function<void()> fire) {
    timer_.setSingleShot(once);
    timer_.setTimerType(Qt::CoarseTimer);
    QObject::connect(&timer_, &QTimer::timeout, &timer_, std::move(fire));
    timer_.start(interval);
  }

 private:
  QTimer timer_;
};

}  // namespace

Date QtTimers::now() const { return std::chrono::system_clock::now(); }

std::unique_ptr<Timers::Handle> QtTimers::every(std::chrono::milliseconds interval, std::function<void()> fire) {
  return std::make_unique<TimerHandle>(interval, false, std::move(fire));
}

std::unique_ptr<Timers::Handle> QtTimers::after(std::chrono::milliseconds delay, std::function<void()> fire) {
  return std::make_unique<TimerHandle>(delay, true, std::move(fire));
}

}  // namespace tw::app
