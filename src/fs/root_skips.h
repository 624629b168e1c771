#pragma once

#include <set>
#include <string>

namespace tw {

// What a walk of the whole disk ("/") leaves out on this platform: kernel views, device
// nodes, runtime state and other mounted volumes, which are not the disk's own space.
[[nodiscard]] const std::set<std::string>& rootSkipFolders();

}  // namespace tw
