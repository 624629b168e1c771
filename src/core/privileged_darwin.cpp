#include "core/apple_script.h"
#include "core/privileged.h"

namespace tw {

AdminResult runAsAdministrator(const std::string& command, const Context& context) {
  const auto error =
      runAppleScript("do shell script \"" + appleScriptEscaped(command) + "\" with administrator privileges", context);
  if (!error) return {};
  if (error->status == AppleScriptError::Status::cancelled) return {AdminResult::Status::cancelled, ""};
  return {AdminResult::Status::failed, error->message};
}

}  // namespace tw
