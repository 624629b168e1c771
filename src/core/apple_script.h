#pragma once

#include <optional>
#include <string>

#include "core/context.h"

namespace tw {

// macOS only. The text made safe inside a double-quoted AppleScript string: every
// backslash doubled first, then every double quote preceded by a backslash.
[[nodiscard]] std::string appleScriptEscaped(const std::string& text);

struct AppleScriptError {
  enum class Status { cancelled, failed };  // cancelled: the user dismissed a prompt
  Status status = Status::failed;
  std::string message;  // the error text the script runner reported
};

// Runs a script with osascript; nothing on success.
[[nodiscard]] std::optional<AppleScriptError> runAppleScript(const std::string& script, const Context& context);

struct AppleScriptResult {
  std::string output;                     // the script's result as osascript prints it
  std::optional<AppleScriptError> error;  // as runAppleScript reports it
};

// The same, keeping what the script returned.
[[nodiscard]] AppleScriptResult runAppleScriptCapturing(const std::string& script, const Context& context);

}  // namespace tw
