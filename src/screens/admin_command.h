#pragma once

#include <string>
#include <vector>

#include "core/dev_item.h"

namespace tw {

// An administrator action that runs these commands one after another, each only when the
// one before it succeeded. Every word is quoted for the shell, so no name or path read
// from the system can change what runs.
[[nodiscard]] DevAction adminCommands(const std::vector<std::vector<std::string>>& commands);

}  // namespace tw
