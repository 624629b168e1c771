#include <systemd/sd-bus.h>
#include <time.h>

#include <cctype>
#include <cstring>
#include <memory>

#include "automation/notify.h"

namespace tw {
namespace {

struct BusUnref {
  // No flush: a peer that stopped reading must not keep us waiting on the way out.
  void operator()(sd_bus* bus) const { sd_bus_close_unref(bus); }
};
struct MessageUnref {
  void operator()(sd_bus_message* message) const { sd_bus_message_unref(message); }
};
struct SlotUnref {
  void operator()(sd_bus_slot* slot) const { sd_bus_slot_unref(slot); }
};
using Bus = std::unique_ptr<sd_bus, BusUnref>;
using Message = std::unique_ptr<sd_bus_message, MessageUnref>;
using Slot = std::unique_ptr<sd_bus_slot, SlotUnref>;

std::string systemText(int negativeErrno) { return std::strerror(-negativeErrno); }

std::uint64_t monotonicMicroseconds() {
  timespec now{};
  clock_gettime(CLOCK_MONOTONIC, &now);
  return static_cast<std::uint64_t>(now.tv_sec) * 1'000'000 + static_cast<std::uint64_t>(now.tv_nsec) / 1000;
}

// The session bus of the context's environment: DBUS_SESSION_BUS_ADDRESS, else the
// per-user socket in XDG_RUNTIME_DIR that systemd sets up.
std::string sessionBusAddress(const Context& context) {
  if (auto address = context.variable("DBUS_SESSION_BUS_ADDRESS"); !address.empty()) return address;
  const std::string runtime = context.variable("XDG_RUNTIME_DIR");
  if (!runtime.starts_with('/')) return {};
  // D-Bus addresses escape every byte outside a small safe set as %XX.
  std::string escaped;
  for (const unsigned char c : runtime + "/bus") {
    if (std::isalnum(c) != 0 || std::strchr("-_/.\\*", c) != nullptr) {
      escaped += static_cast<char>(c);
    } else {
      static const char* hex = "0123456789abcdef";
      escaped += {'%', hex[c >> 4], hex[c & 15]};
    }
  }
  return "unix:path=" + escaped;
}

struct Reply {
  bool arrived = false;
  Notify::Result result = Notify::NotShown{"no answer"};
};

int onReply(sd_bus_message* message, void* userdata, sd_bus_error* /*error*/) {
  auto* reply = static_cast<Reply*>(userdata);
  reply->arrived = true;
  if (const sd_bus_error* failure = sd_bus_message_get_error(message)) {
    reply->result = Notify::NotShown{failure->message != nullptr ? failure->message : failure->name};
    return 0;
  }
  std::uint32_t id = 0;
  const int read = sd_bus_message_read(message, "u", &id);
  reply->result = read < 0 ? Notify::Result(Notify::NotShown{"unreadable answer: " + systemText(read)})
                           : Notify::Result(Notify::Posted{id});
  return 0;
}

int appendNotify(sd_bus_message* call, const std::string& title, const std::string& body) {
  // app_name, replaces_id (0: a new notification), app_icon, summary, body, actions,
  // hints, expire_timeout (-1: the server decides).
  int r = sd_bus_message_append(call, "susss", "Tidewarden", 0U, "tidewarden", title.c_str(), body.c_str());
  if (r >= 0) r = sd_bus_message_append(call, "as", 0);
  if (r >= 0) r = sd_bus_message_append(call, "a{sv}", 1, "desktop-entry", "s", "tidewarden");
  if (r >= 0) r = sd_bus_message_append(call, "i", -1);
  return r;
}

// Drives the connection until the reply arrives or the deadline passes; sd-bus's own
// waits (authentication included) could otherwise outlast the caller's patience.
Notify::Result awaitReply(sd_bus* bus, Reply& reply) {
  const std::uint64_t deadline =
      monotonicMicroseconds() + static_cast<std::uint64_t>(Notify::timeout.count()) * 1'000'000;
  while (!reply.arrived) {
    const int processed = sd_bus_process(bus, nullptr);
    if (processed < 0) return Notify::NotShown{"session bus: " + systemText(processed)};
    if (processed > 0) continue;
    const std::uint64_t now = monotonicMicroseconds();
    if (now >= deadline) return Notify::NotShown{"the notification server did not answer in time"};
    const int waited = sd_bus_wait(bus, deadline - now);
    if (waited < 0) return Notify::NotShown{"session bus: " + systemText(waited)};
  }
  return reply.result;
}

}  // namespace

Notify::Result postNotification(const Context& context, const std::string& title, const std::string& body) {
  const std::string address = sessionBusAddress(context);
  if (address.empty()) return Notify::NotShown{"no session bus (DBUS_SESSION_BUS_ADDRESS is not set)"};

  sd_bus* raw = nullptr;
  if (const int r = sd_bus_new(&raw); r < 0) return Notify::NotShown{"session bus: " + systemText(r)};
  Bus bus(raw);
  int r = sd_bus_set_address(bus.get(), address.c_str());
  if (r >= 0) r = sd_bus_set_bus_client(bus.get(), 1);
  if (r >= 0) r = sd_bus_start(bus.get());
  if (r < 0) return Notify::NotShown{"cannot reach the session bus at " + address + ": " + systemText(r)};

  sd_bus_message* rawCall = nullptr;
  r = sd_bus_message_new_method_call(bus.get(), &rawCall, "org.freedesktop.Notifications",
                                     "/org/freedesktop/Notifications", "org.freedesktop.Notifications", "Notify");
  if (r < 0) return Notify::NotShown{"session bus: " + systemText(r)};
  Message call(rawCall);
  if (r = appendNotify(call.get(), title, body); r < 0) return Notify::NotShown{"session bus: " + systemText(r)};

  Reply reply;
  sd_bus_slot* rawSlot = nullptr;
  r = sd_bus_call_async(bus.get(), &rawSlot, call.get(), onReply, &reply,
                        static_cast<std::uint64_t>(Notify::timeout.count()) * 1'000'000);
  if (r < 0) return Notify::NotShown{"session bus: " + systemText(r)};
  Slot slot(rawSlot);  // released before the bus, and with it the callback's hold on `reply`
  return awaitReply(bus.get(), reply);
}

}  // namespace tw
