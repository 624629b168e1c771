#pragma once

#include <optional>
#include <string>

#include "core/context.h"

namespace tw {

// Opening the app when the user logs in: on Linux an XDG autostart entry
// ($XDG_CONFIG_HOME/autostart/tidewarden.desktop), on macOS a login item.
struct LoginItem {
  static constexpr const char* failurePrefix = "Tidewarden login item: ";

  // Registers (`on`) or unregisters the app that `program` starts with no arguments;
  // nothing on success, else one line for the user: failurePrefix and the reason.
  [[nodiscard]] static std::optional<std::string> set(const Context& context, bool on, const std::string& program);
  // The same for this running program.
  [[nodiscard]] static std::optional<std::string> set(const Context& context, bool on);
  // Whether the app is registered to open at login now.
  [[nodiscard]] static bool isOn(const Context& context);
};

// The platform's side of LoginItem::set: nothing on success, else the reason.
[[nodiscard]] std::optional<std::string> registerLoginItem(const Context& context, bool on, const std::string& program);
// The platform's side of LoginItem::isOn.
[[nodiscard]] bool loginItemRegistered(const Context& context);

}  // namespace tw
