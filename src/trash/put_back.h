#pragma once

#include <string>
#include <vector>

#include "core/context.h"

#include "trash/trash_item.h"

namespace tw {

struct PutBackResult {
  std::vector<std::string> restored;  // where each item went
  std::vector<std::string> failures;  // "name (reason)." per item that stayed
};

// Moves each item that lies directly in one of `dirs` back to its origin, creating the
// origin's folder when needed and never replacing what is there now: an occupied name
// becomes "name 2.ext", "name 3.ext" and so on.
[[nodiscard]] PutBackResult putBackItems(const std::vector<TrashItem>& items, const std::vector<TrashDir>& dirs,
                                         const Context& context);

// The `attempt`-th alternative for an occupied path: 1 gives the path itself,
// 2 gives "report 2.txt" for "report.txt".
[[nodiscard]] std::string alternativePath(const std::string& path, int attempt);

}  // namespace tw
