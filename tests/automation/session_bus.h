#pragma once

#include <sys/types.h>
#include <systemd/sd-bus.h>

#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace tw::test {

// A private D-Bus session bus: a dbus-daemon started for the test and stopped with it.
class SessionBus {
 public:
  SessionBus();
  ~SessionBus();
  SessionBus(const SessionBus&) = delete;
  SessionBus& operator=(const SessionBus&) = delete;

  [[nodiscard]] bool started() const { return !address_.empty(); }
  [[nodiscard]] const std::string& address() const { return address_; }
  // Why the bus could not be started, for the test's skip message.
  [[nodiscard]] const std::string& problem() const { return problem_; }

 private:
  pid_t daemon_ = -1;
  std::string address_;
  std::string problem_;
};

// A small notification server on a bus: owns org.freedesktop.Notifications and records
// each Notify call, answering with a fresh id (or, when told to, never answering).
class NotificationServer {
 public:
  struct Received {
    std::string app;
    std::uint32_t replaces = 0;
    std::string title;
    std::string body;
  };

  NotificationServer(const std::string& address, bool answers = true);
  ~NotificationServer();
  NotificationServer(const NotificationServer&) = delete;
  NotificationServer& operator=(const NotificationServer&) = delete;

  [[nodiscard]] bool ready() const { return ready_; }
  // Waits until `count` notifications arrived (at most five seconds) and returns them all.
  [[nodiscard]] std::vector<Received> waitFor(std::size_t count);
  [[nodiscard]] std::vector<Received> received();

 private:
  void serve(const std::string& address);
  static int onNotify(sd_bus_message* call, void* self, sd_bus_error* error);

  const bool answers_;
  bool ready_ = false;
  std::mutex mutex_;
  std::condition_variable changed_;
  bool stop_ = false;
  bool settled_ = false;  // the server thread is up (or gave up)
  std::vector<Received> received_;
  std::uint32_t nextId_ = 1;
  std::thread thread_;
};

}  // namespace tw::test
