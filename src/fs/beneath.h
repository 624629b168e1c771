#pragma once

#include <string_view>
#include <system_error>

#include "fs/unique_fd.h"

namespace tw {

// Opens the folder `relative` (pieces joined by "/"; no "." or ".." piece) below an open
// folder, one piece at a time, following no link and entering no other mount on the way;
// an empty `relative` opens the folder itself again. Fails with ELOOP for a link (or a
// file) in the way, EXDEV for a mount point, ENOENT when a piece is gone.
[[nodiscard]] UniqueFd openFolderBeneath(int topFd, std::string_view relative, std::error_code& error);

// True when the open folder is the root of a mount: another file system, or a bind mount
// of a folder of the same one.
[[nodiscard]] bool isMountRoot(int folderFd);

}  // namespace tw
