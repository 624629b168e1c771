#pragma once

#include <optional>
#include <string>
#include <vector>

namespace tw {

// Runs shell commands with administrator rights in one privileged call, so the user is
// asked for a password once however many there are. Each command runs in a subshell of
// its own: one that fails does not stop the others. One outcome per command, in order:
// nothing on success, otherwise one sentence for the user (the command's standard error,
// or why the call as a whole did not run).
[[nodiscard]] std::vector<std::optional<std::string>> runAllAsAdministrator(const std::vector<std::string>& commands);

// One command alone: runAllAsAdministrator({command}).
[[nodiscard]] std::optional<std::string> runAsAdministrator(const std::string& command);

}  // namespace tw
