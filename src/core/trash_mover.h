#pragma once

#include <string>

namespace tw {

// Moves one path to the Trash (on Linux the freedesktop Trash of its volume, so other
// Trash clients can list and restore it). True only if nothing is left at the path.
[[nodiscard]] bool moveToTrash(const std::string& path);

}  // namespace tw
