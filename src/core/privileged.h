#pragma once

#include <string>
#include <vector>

#include "core/context.h"

namespace tw {

// How a call with administrator rights ended.
struct AdminResult {
  enum class Status {
    done,
    cancelled,    // the user dismissed the password prompt or was not allowed
    unavailable,  // this system has no way to ask for the rights
    failed,       // the call ended in failure; `detail` holds what it said
  };
  Status status = Status::done;
  std::string detail;
  std::string output;  // the script's standard output, whatever the status
};

// Runs `/bin/sh -c script name arguments...` with administrator rights, after the system
// has asked the user for a password once.
[[nodiscard]] AdminResult runShellAsAdministrator(const std::string& script, const std::vector<std::string>& arguments,
                                                  const Context& context);

}  // namespace tw
