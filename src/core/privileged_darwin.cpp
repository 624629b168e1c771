#include "core/apple_script.h"
#include "core/privileged.h"

namespace tw {

std::optional<std::string> runAsAdministrator(const std::string& command) {
  return runAppleScript("do shell script \"" + appleScriptEscaped(command) + "\" with administrator privileges");
}

}  // namespace tw
