#include "session_bus.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <systemd/sd-bus.h>
#include <unistd.h>

#include <chrono>
#include <cstring>

extern char** environ;

namespace tw::test {
namespace {

// The first line the daemon prints, waiting at most five seconds for it.
std::string readLine(int fd) {
  std::string line;
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(5);
  while (line.find('\n') == std::string::npos && std::chrono::steady_clock::now() < deadline) {
    pollfd ready{fd, POLLIN, 0};
    if (::poll(&ready, 1, 100) <= 0) continue;
    char buffer[512];
    const ssize_t got = ::read(fd, buffer, sizeof buffer);
    if (got <= 0) break;
    line.append(buffer, static_cast<std::size_t>(got));
  }
  const auto end = line.find('\n');
  return end == std::string::npos ? std::string() : line.substr(0, end);
}

}  // namespace

SessionBus::SessionBus() {
  int out[2];
  if (::pipe2(out, O_CLOEXEC) != 0) {
    problem_ = "pipe failed";
    return;
  }
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, out[1], 1);
  std::vector<std::string> arguments{"dbus-daemon", "--session", "--nofork", "--print-address"};
  std::vector<char*> argv;
  for (auto& argument : arguments) argv.push_back(argument.data());
  argv.push_back(nullptr);
  const int spawned = ::posix_spawnp(&daemon_, "dbus-daemon", &actions, nullptr, argv.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  ::close(out[1]);
  if (spawned != 0) {
    daemon_ = -1;
    problem_ = std::string("dbus-daemon could not be started: ") + std::strerror(spawned);
  } else {
    address_ = readLine(out[0]);
    if (address_.empty()) problem_ = "dbus-daemon printed no address";
  }
  ::close(out[0]);
}

SessionBus::~SessionBus() {
  if (daemon_ <= 0) return;
  ::kill(daemon_, SIGTERM);
  int status = 0;
  ::waitpid(daemon_, &status, 0);
}

NotificationServer::NotificationServer(const std::string& address, bool answers) : answers_(answers) {
  thread_ = std::thread([this, address] { serve(address); });
  std::unique_lock lock(mutex_);
  changed_.wait(lock, [this] { return settled_; });
}

NotificationServer::~NotificationServer() {
  {
    std::lock_guard lock(mutex_);
    stop_ = true;
  }
  thread_.join();
}

int NotificationServer::onNotify(sd_bus_message* call, void* self, sd_bus_error* /*error*/) {
  auto* server = static_cast<NotificationServer*>(self);
  const char* app = nullptr;
  const char* icon = nullptr;
  const char* title = nullptr;
  const char* body = nullptr;
  std::uint32_t replaces = 0;
  int r = sd_bus_message_read(call, "susss", &app, &replaces, &icon, &title, &body);
  if (r < 0) return r;
  std::uint32_t id = 0;
  {
    std::lock_guard lock(server->mutex_);
    server->received_.push_back({app, replaces, title, body});
    id = server->nextId_++;
  }
  server->changed_.notify_all();
  if (!server->answers_) return 1;  // handled, but no reply: the caller must give up on its own
  return sd_bus_reply_method_return(call, "u", id);
}

void NotificationServer::serve(const std::string& address) {
  static const sd_bus_vtable vtable[] = {
      SD_BUS_VTABLE_START(0),
      SD_BUS_METHOD("Notify", "susssasa{sv}i", "u", NotificationServer::onNotify, SD_BUS_VTABLE_UNPRIVILEGED),
      SD_BUS_VTABLE_END};
  sd_bus* bus = nullptr;
  sd_bus_slot* slot = nullptr;
  int r = sd_bus_new(&bus);
  if (r >= 0) r = sd_bus_set_address(bus, address.c_str());
  if (r >= 0) r = sd_bus_set_bus_client(bus, 1);
  if (r >= 0) r = sd_bus_start(bus);
  if (r >= 0) {
    r = sd_bus_add_object_vtable(bus, &slot, "/org/freedesktop/Notifications", "org.freedesktop.Notifications", vtable,
                                 this);
  }
  if (r >= 0) r = sd_bus_request_name(bus, "org.freedesktop.Notifications", 0);
  {
    std::lock_guard lock(mutex_);
    ready_ = r >= 0;
    settled_ = true;
  }
  changed_.notify_all();
  while (r >= 0) {
    {
      std::lock_guard lock(mutex_);
      if (stop_) break;
    }
    if (sd_bus_process(bus, nullptr) > 0) continue;
    sd_bus_wait(bus, 50'000);
  }
  sd_bus_slot_unref(slot);
  sd_bus_flush_close_unref(bus);
}

std::vector<NotificationServer::Received> NotificationServer::waitFor(std::size_t count) {
  std::unique_lock lock(mutex_);
  changed_.wait_for(lock, std::chrono::seconds(5), [&] { return received_.size() >= count; });
  return received_;
}

std::vector<NotificationServer::Received> NotificationServer::received() {
  std::lock_guard lock(mutex_);
  return received_;
}

}  // namespace tw::test
