#include "core/apple_script.h"
#include "core/privileged.h"
#include "core/shell_quote.h"

namespace tw {

AdminResult runShellAsAdministrator(const std::string& script, const std::vector<std::string>& arguments,
                                    const Context& context) {
  std::vector<std::string> words{"/bin/sh", "-c", script};
  words.insert(words.end(), arguments.begin(), arguments.end());
  // "without altering line endings" keeps the script's newlines, which the caller parses.
  auto result = runAppleScriptCapturing("do shell script \"" + appleScriptEscaped(shellQuoted(words)) +
                                            "\" with administrator privileges without altering line endings",
                                        context);
  if (!result.error) return {AdminResult::Status::done, "", std::move(result.output)};
  if (result.error->status == AppleScriptError::Status::cancelled) {
    return {AdminResult::Status::cancelled, "", std::move(result.output)};
  }
  return {AdminResult::Status::failed, std::move(result.error->message), std::move(result.output)};
}

}  // namespace tw
