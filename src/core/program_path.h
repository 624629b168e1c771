#pragma once

#include <string>

namespace tw {

// This running program's absolute path, links resolved; empty when it cannot be told.
[[nodiscard]] std::string currentProgramPath();

}  // namespace tw
