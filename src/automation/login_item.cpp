#include "automation/login_item.h"

#include "core/program_path.h"

namespace tw {

std::optional<std::string> LoginItem::set(const Context& context, bool on, const std::string& program) {
  if (auto reason = registerLoginItem(context, on, program)) return failurePrefix + *reason;
  return std::nullopt;
}

std::optional<std::string> LoginItem::set(const Context& context, bool on) {
  return set(context, on, currentProgramPath());
}

bool LoginItem::isOn(const Context& context) { return loginItemRegistered(context); }

}  // namespace tw
