#pragma once

#include <optional>
#include <string>
#include <vector>

#include "core/date.h"

namespace tw {

// One entry of a folder, with its full path.
struct PathEntry {
  std::string name;
  std::string path;
  bool isDir = false;  // a link to a folder is not one
};

// The entries of a folder in name order, so that what a screen lists does not depend on the
// file system's order; nothing for an empty path or a folder that cannot be read.
[[nodiscard]] std::vector<PathEntry> entriesByName(const std::string& folder);

// When the item at a path (not followed if a link) was last changed.
[[nodiscard]] std::optional<Date> modificationDate(const std::string& path);

}  // namespace tw
