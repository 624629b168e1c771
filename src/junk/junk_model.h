#pragma once

#include "junk/junk_category.h"
#include "junk/junk_table.h"

namespace tw {

// The Smart Clean catalogue. Every call builds fresh categories that the caller owns.
struct JunkModel {
  // The seven categories at this platform's locations (or the table that the context's
  // TIDEWARDEN_JUNK_TABLE names), for the context's home folder.
  [[nodiscard]] static JunkCategories makeCategories(const Context& context);
  // The same from a given table, relative to the given folders.
  [[nodiscard]] static JunkCategories makeCategories(const JunkTable& table, const JunkRoots& roots);
};

}  // namespace tw
