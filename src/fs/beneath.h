#pragma once

#include <string_view>
#include <system_error>

#include "fs/unique_fd.h"

namespace tw {

// Opens the folder `relative` (pieces joined by "/"; no "." or ".." piece) below an open
// folder, one piece at a time, following no link; an empty `relative` opens the folder
// itself again. A file system mounted on the way (a cache on a disk of its own) is entered:
// only the administrator can mount over another user's folders, while links are anyone's.
// Fails with ELOOP for a link (or a file) in the way, ENOENT when a piece is gone.
[[nodiscard]] UniqueFd openFolderBeneath(int topFd, std::string_view relative, std::error_code& error);

// True when the open folder is the root of a mount: another file system, or a bind mount
// of a folder of the same one.
[[nodiscard]] bool isMountRoot(int folderFd);

}  // namespace tw
