#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "automation/timers.h"
#include "core/context.h"
#include "core/dispatcher.h"
#include "core/task_runner.h"

namespace tw {

// The background runner: wakes every fifteen minutes (and once shortly after it starts),
// runs the user's cleanup rules when their interval has passed and warns when the disk
// runs low. Ticks run on the owner's thread; rule runs and notifications on a worker.
class Background {
 public:
  static constexpr std::chrono::seconds tickInterval{900};
  static constexpr std::chrono::seconds firstTickDelay{30};
  static constexpr std::chrono::seconds lowSpaceSpacing{21'600};
  static constexpr const char* autoCleanTitle = "Tidewarden auto-clean";

  // What the runner reads and tells the world through, so that tests can stand in for it.
  struct Services {
    std::shared_ptr<Timers> timers;
    // Free bytes on the start-up volume; nothing when they cannot be read.
    std::function<std::optional<std::int64_t>()> freeSpace;
    // Shows a notification; may block for a while, so it is only called on a worker.
    std::function<void(const std::string& title, const std::string& body)> notify;

    // The volume that holds the home folder and the desktop's notifications.
    [[nodiscard]] static Services system(const Context& context, std::shared_ptr<Timers> timers);
  };

  Background(Context context, Services services, Dispatcher owner);
  // A released runner stops ticking and waits for a run under way to end.
  ~Background();
  Background(const Background&) = delete;
  Background& operator=(const Background&) = delete;

  // Registers the settings' defaults and schedules the ticks; starting again replaces the
  // earlier schedule.
  void start();
  // One wake-up: the rules when they are due, then the low-space check.
  void tick();
  // Runs every enabled rule now, on a worker; `completion` gets the summary on the owner's
  // thread. A request while a run is under way joins that run instead of starting another.
  void runRules(bool notify, std::function<void(const std::string& summary)> completion = {});

  // No rule run or notification is under way.
  [[nodiscard]] bool idle() const { return runner_.idle(); }
  [[nodiscard]] bool running() const { return ruleRunUnderWay_; }

  // "Auto-clean freed 1.2 GB (3 items)." or "Auto-clean found nothing to remove.".
  [[nodiscard]] static std::string summary(std::int64_t freed, std::size_t removed);
  // "Only 19.9 GB left. Open Tidewarden to see what can go."
  [[nodiscard]] static std::string lowSpaceBody(std::int64_t freeBytes);

 private:
  void checkLowSpace();
  void notifyOffThread(std::string title, std::string body);

  Context context_;
  Services services_;
  std::unique_ptr<Timers::Handle> repeating_;
  std::unique_ptr<Timers::Handle> first_;
  bool ruleRunUnderWay_ = false;
  std::vector<std::function<void(const std::string&)>> completions_;
  // Timer callbacks hold this weakly, so one that fires late finds the runner gone.
  std::shared_ptr<Background*> self_ = std::make_shared<Background*>(this);
  // Last, so that it goes first: its jobs read the members above until they are joined.
  TaskRunner runner_;
};

}  // namespace tw
