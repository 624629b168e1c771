#pragma once

#include <string>
#include <vector>

#include "core/action_outcome.h"
#include "core/context.h"

namespace tw {

// Runs shell commands with administrator rights in one privileged call, so the user is
// asked for a password once however many there are. Each command runs in a subshell of
// its own: one that fails does not stop the others. One outcome per command, in order:
// done; failed with the command's standard error (or why the call as a whole did not
// run); or cancelled when the prompt was dismissed or the context stopped the call.
[[nodiscard]] std::vector<ActionOutcome> runAllAsAdministrator(const std::vector<std::string>& commands,
                                                               const Context& context);

}  // namespace tw
