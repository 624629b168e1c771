#include "core/apple_script.h"
#include "core/privileged.h"
#include "trash/shell_quote.h"

namespace tw {

PrivilegedRun runShellAsAdministrator(const std::string& script, const std::vector<std::string>& arguments) {
  std::vector<std::string> words{"/bin/sh", "-c", script};
  words.insert(words.end(), arguments.begin(), arguments.end());
  // "without altering line endings" keeps the script's newlines, which the caller parses.
  auto result = runAppleScriptCapturing("do shell script \"" + appleScriptEscaped(shellQuoted(words)) +
                                        "\" with administrator privileges without altering line endings");
  return {std::move(result.output), std::move(result.error)};
}

}  // namespace tw
