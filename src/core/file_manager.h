#pragma once

#include <string>
#include <system_error>

#include "core/context.h"

namespace tw {

// Asks the system's file manager to move a path to the Trash, for what the Trash mover
// itself could not move (on macOS the Finder, which may ask for a password). Systems
// without such a file manager answer "not supported" and change nothing.
[[nodiscard]] std::error_code trashWithFileManager(const std::string& path, const Context& context);

}  // namespace tw
