#pragma once

#include <atomic>
#include <cstdint>
#include <string>
#include <system_error>
#include <vector>

#include "core/context.h"
#include "trash/trash_item.h"

namespace tw {

struct TrashRemoval {
  std::vector<TrashItem> removed;  // freeable holds what each one gave back
  std::int64_t freed = 0;
  std::vector<std::string> needsAdmin;  // refused for lack of rights
  std::vector<std::string> blocked;     // failed for another reason (in use, read-only, ...)
};

// Permanently deletes the items that lie directly inside one of `dirs`, concurrently,
// through the removal service; anything else is ignored. Locked files are unlocked where
// permitted, the Trash's own record of each removed item goes with it, and the removals
// are written to the history under "Trash". `finished` counts items as they finish.
[[nodiscard]] TrashRemoval removeFromTrash(const std::vector<TrashItem>& items, const std::vector<TrashDir>& dirs,
                                           const Context& context, std::atomic<std::size_t>* finished = nullptr);

// Permission errors that an administrator could overcome.
[[nodiscard]] bool needsMoreRights(const std::error_code& error);

}  // namespace tw
