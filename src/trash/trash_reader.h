#pragma once

#include <vector>

#include "core/context.h"

#include "trash/trash_item.h"

namespace tw {

struct TrashListing {
  std::vector<TrashItem> items;
  bool readable = true;  // a missing folder is readable and empty
};

// The entries of one Trash folder, in listing order, without the Finder's own files.
// Files carry their size; folders are left for the caller to measure.
[[nodiscard]] TrashListing readTrashFolder(const TrashDir& dir, const Context& context);

// Names that a Trash folder holds for the system's own use, never shown or deleted.
[[nodiscard]] bool isTrashBookkeeping(const std::string& name);

}  // namespace tw
