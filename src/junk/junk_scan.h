#pragma once

#include <map>
#include <string>

#include "junk/junk_category.h"
#include "junk/path_identity.h"

namespace tw {

enum class JunkScanMode {
  concurrent,  // one task per finder, then one task per path
  sequential,  // the same work one step after another (for comparison)
};

struct JunkScanResult {
  // What every kept path was when it was measured, so a removal can tell that it changed.
  std::map<std::string, PathIdentity> identities;
};

// Runs every category's finder, measures every found path (a link as the link itself),
// drops what measures zero and stores the rest, largest first, with the notes, in the
// categories. Blocks; the categories are written on the calling thread after the work
// has joined.
[[nodiscard]] JunkScanResult scanJunk(const JunkCategories& categories, JunkScanMode mode = JunkScanMode::concurrent);

}  // namespace tw
