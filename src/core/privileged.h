#pragma once

#include <string>

#include "core/context.h"

namespace tw {

// How a command run with administrator rights ended.
struct AdminResult {
  enum class Status {
    done,
    cancelled,    // the user dismissed the password prompt or was not allowed
    unavailable,  // this system has no way to ask for the rights
    failed,       // the command ran and failed; `detail` holds what it said
  };
  Status status = Status::done;
  std::string detail;
};

// Runs a shell command with administrator rights, after the system has asked the user
// for a password.
[[nodiscard]] AdminResult runAsAdministrator(const std::string& command, const Context& context);

}  // namespace tw
