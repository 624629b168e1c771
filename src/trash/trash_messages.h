#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "trash/trash_layout.h"

namespace tw {

// The sentences the Trash shows after each operation.
struct TrashMessages {
  // "Deleted 3 items, freed 1.2 MB." plus how many need an administrator or stayed.
  [[nodiscard]] static std::string deleted(std::size_t count, std::int64_t freed, std::size_t needAdmin,
                                           std::size_t blocked);
  [[nodiscard]] static std::string adminCancelled();
  // After an administrator delete that did not remove everything (or failed outright).
  [[nodiscard]] static std::string adminDeleted(std::size_t count, std::int64_t freed, std::size_t blocked,
                                                const std::string& error);
  [[nodiscard]] static std::string fileManager(TrashLayout::FileManagerResult result);
  // "Couldn't restore: a (no original location recorded)." first, then what went back.
  [[nodiscard]] static std::string putBack(std::size_t restored, const std::vector<std::string>& failures);
};

}  // namespace tw
