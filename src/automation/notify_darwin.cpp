#include "automation/notify.h"
#include "core/apple_script.h"

namespace tw {

Notify::Result postNotification(const Context& context, const std::string& title, const std::string& body) {
  const auto error = runAppleScript(
      "display notification \"" + appleScriptEscaped(body) + "\" with title \"" + appleScriptEscaped(title) + "\"",
      context);
  if (error) return Notify::NotShown{error->message.empty() ? "the notification service refused it" : error->message};
  // The system numbers its notifications itself and does not say how.
  return Notify::Posted{};
}

}  // namespace tw
