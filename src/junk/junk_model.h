#pragma once

#include "junk/junk_category.h"
#include "junk/junk_table.h"

namespace tw {

// The Smart Clean catalogue. Every call builds fresh categories that the caller owns.
struct JunkModel {
  // The seven categories at this platform's locations, for the home folder of this moment.
  [[nodiscard]] static JunkCategories makeCategories();
  // The same from a given table, relative to the given folders.
  [[nodiscard]] static JunkCategories makeCategories(const JunkTable& table,
                                                     const JunkRoots& roots = JunkRoots::current());
};

}  // namespace tw
