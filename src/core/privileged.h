#pragma once

#include <optional>
#include <string>

namespace tw {

// Runs a shell command with administrator rights, after the system has asked the user
// for a password. Nothing on success, otherwise one sentence for the user.
[[nodiscard]] std::optional<std::string> runAsAdministrator(const std::string& command);

}  // namespace tw
