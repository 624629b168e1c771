#pragma once

#include <optional>
#include <string>
#include <vector>

namespace tw {

// What one privileged call gave back.
struct PrivilegedRun {
  std::string output;                  // the script's standard output
  std::optional<std::string> failure;  // why the call as a whole failed, as one sentence for the user
};

// Runs `/bin/sh -c script name arguments...` with administrator rights, after the system
// has asked the user for a password once.
[[nodiscard]] PrivilegedRun runShellAsAdministrator(const std::string& script,
                                                    const std::vector<std::string>& arguments);

}  // namespace tw
