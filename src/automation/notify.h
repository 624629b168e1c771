#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <variant>

#include "core/context.h"

namespace tw {

// User notifications: on Linux through org.freedesktop.Notifications on the session bus
// the context's environment names, on macOS through the system's notification service.
struct Notify {
  // How long posting may take before it is given up, so that a bus or a server that does
  // not answer never holds up the caller.
  static constexpr std::chrono::seconds timeout{5};

  // The notification's number, or why it could not be shown.
  struct Posted {
    std::uint32_t id = 0;
  };
  struct NotShown {
    std::string reason;
  };
  using Result = std::variant<Posted, NotShown>;

  // Posts a fresh notification (it replaces none shown earlier). Blocks for at most
  // `timeout`. When it cannot be shown (no session bus, no notification server) it says so
  // in one line on standard error and the caller goes on.
  static Result send(const Context& context, const std::string& title, const std::string& body);
};

// The platform's poster behind Notify::send; reports, never prints.
[[nodiscard]] Notify::Result postNotification(const Context& context, const std::string& title,
                                              const std::string& body);

}  // namespace tw
