#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "core/date.h"

namespace tw {

// One entry directly inside a Trash folder.
struct TrashItem {
  std::string path;  // absolute, inside a Trash folder; identifies the item
  std::string name;  // its name inside the Trash
  bool isDir = false;
  std::optional<Date> trashed;
  std::optional<std::string> origin;  // where it was before it was trashed
  std::optional<std::int64_t> size;   // a folder's is absent until measured
  std::optional<std::int64_t> freeable;
  std::uint64_t inode = 0;  // as the Trash folder's listing saw it; 0 when unknown

  friend bool operator==(const TrashItem&, const TrashItem&) = default;
};

// A folder that holds trashed items, and the root of the volume it serves.
struct TrashDir {
  std::string dir;
  std::string volumeRoot;

  friend bool operator==(const TrashDir&, const TrashDir&) = default;
};

}  // namespace tw
