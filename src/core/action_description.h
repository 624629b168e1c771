#pragma once

#include <string>

#include "core/dev_item.h"

namespace tw {

// What an action will do, in one line for the user: the same words on the command line and
// in the window's confirmation.
[[nodiscard]] std::string describe(const DevAction& action, const std::string& home);

}  // namespace tw
