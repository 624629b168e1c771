#pragma once

#include <string>
#include <system_error>

namespace tw {

// Removes a file, a symbolic link or a whole folder tree. Never follows a symbolic link,
// never descends into another file system, and cannot be redirected by a folder being
// swapped for a link while it runs (it walks descriptors, checking device and inode).
// An already missing path is success. No home-folder guard: callers apply their own.
[[nodiscard]] std::error_code removeTreeSafely(const std::string& path);

}  // namespace tw
