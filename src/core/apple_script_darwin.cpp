#include "core/apple_script.h"

#include "core/shell.h"
#include "core/text.h"

namespace tw {

std::string appleScriptEscaped(const std::string& text) {
  std::string escaped;
  for (const char c : text) {
    if (c == '\\')
      escaped += "\\\\";
    else if (c == '"')
      escaped += "\\\"";
    else
      escaped += c;
  }
  return escaped;
}

std::optional<AppleScriptError> runAppleScript(const std::string& script, const Context& context) {
  return runAppleScriptCapturing(script, context).error;
}

AppleScriptResult runAppleScriptCapturing(const std::string& script, const Context& context) {
  // Prompts can wait for the user for a long time.
  auto result = Shell::run("/usr/bin/osascript", {"-e", script}, 1800, context);
  if (result.code == 0) return {std::move(result.out), std::nullopt};
  std::string message = trimmed(result.err);
  // osascript prefixes "execution error: " and appends the error number in brackets.
  if (const auto colon = message.find("execution error: "); colon != std::string::npos) {
    message = message.substr(colon + 17);
  }
  if (const auto number = message.rfind(" ("); number != std::string::npos && message.ends_with(")")) {
    message = message.substr(0, number);
  }
  if (message.empty() || message.find("User canceled") != std::string::npos) {
    return {std::move(result.out), AppleScriptError{AppleScriptError::Status::cancelled, ""}};
  }
  return {std::move(result.out), AppleScriptError{AppleScriptError::Status::failed, message}};
}

}  // namespace tw
