#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "fs/file_identity.h"
#include "fs/unique_fd.h"

namespace tw {

// Opens a folder for listing without following a link in its last piece. Paths longer than
// the kernel's limit are opened piece by piece relative to the last opened part.
[[nodiscard]] UniqueFd openFolder(const std::string& path);

// Opens `name` inside an open folder as a folder, never following a link.
[[nodiscard]] UniqueFd openFolderAt(int parentFd, const char* name);

}  // namespace tw
