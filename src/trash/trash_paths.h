#pragma once

#include <optional>
#include <string>
#include <vector>

#include "core/context.h"
#include "trash/trash_item.h"

namespace tw {

// The Trash folder that holds `path` as a direct child. Only the exact string
// "<dir>/<name>" counts, and never a name of "." or "..", so nothing that merely sits
// somewhere below a Trash folder, or resolves outside one, is ever treated as trashed.
[[nodiscard]] std::optional<TrashDir> containingTrashDir(const std::string& path, const std::vector<TrashDir>& dirs);

// The trusted folder that removals from a Trash folder start from: the home folder for the
// home Trash, else the Trash's own folder (which holds "files" and "info").
[[nodiscard]] std::string trustedTopOf(const TrashDir& dir, const Context& context);

// Drops what the Trash folder records about an entry that has left it: only files, reached
// from `top` without following a link (an "info" folder that is a link is left alone).
void forgetTrashRecords(const std::string& top, const TrashDir& dir, const std::string& name);

}  // namespace tw
