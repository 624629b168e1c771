#pragma once

#include <optional>
#include <string>
#include <vector>

#include "trash/trash_item.h"

namespace tw {

// The Trash folder that holds `path` as a direct child. Only the exact string
// "<dir>/<name>" counts, and never a name of "." or "..", so nothing that merely sits
// somewhere below a Trash folder, or resolves outside one, is ever treated as trashed.
[[nodiscard]] std::optional<TrashDir> containingTrashDir(const std::string& path, const std::vector<TrashDir>& dirs);

// Drops what the Trash folder records about an entry that has left it.
void forgetTrashRecords(const TrashDir& dir, const std::string& name);

}  // namespace tw
