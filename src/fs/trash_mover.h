#pragma once

#include <string>
#include <system_error>

namespace tw {

// Where the current user's home Trash lives: on Linux the freedesktop Trash under the
// data folder ($XDG_DATA_HOME/Trash), on macOS ~/.Trash.
struct TrashHome {
  std::string home;
  std::string dataHome;
};

// Moves one path to the Trash of its volume (on Linux the freedesktop Trash, so other Trash
// clients can list and restore it). Success only when nothing is left at the path.
[[nodiscard]] std::error_code moveToTrash(const std::string& path, const TrashHome& trashHome);

}  // namespace tw
