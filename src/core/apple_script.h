#pragma once

#include <optional>
#include <string>

namespace tw {

// macOS only. The text made safe inside a double-quoted AppleScript string: every
// backslash doubled first, then every double quote preceded by a backslash.
[[nodiscard]] std::string appleScriptEscaped(const std::string& text);

// Runs a script with osascript; nothing on success, otherwise the error text it reports,
// or "Cancelled" when it reports none (as when the password prompt is dismissed).
[[nodiscard]] std::optional<std::string> runAppleScript(const std::string& script);

struct AppleScriptResult {
  std::string output;                // the script's result as osascript prints it
  std::optional<std::string> error;  // as runAppleScript reports it
};

// The same, keeping what the script returned.
[[nodiscard]] AppleScriptResult runAppleScriptCapturing(const std::string& script);

}  // namespace tw
