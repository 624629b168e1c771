#pragma once

#include <map>
#include <stop_token>
#include <string>

#include "fs/file_identity.h"
#include "junk/junk_category.h"

namespace tw {

enum class JunkScanMode {
  concurrent,  // one task per finder, then one task per path
  sequential,  // the same work one step after another (for comparison)
};

struct JunkScanResult {
  // What every kept path was when it was measured, so a removal can tell that it changed.
  std::map<std::string, FileIdentity> identities;
};

// Runs every category's finder, measures every found path (a link as the link itself),
// drops what measures zero and stores the rest, largest first, with the notes, in the
// categories. Blocks; the categories are written on the calling thread after the work
// has joined. A stop request ends the finders and the measuring early.
[[nodiscard]] JunkScanResult scanJunk(const JunkCategories& categories, JunkScanMode mode = JunkScanMode::concurrent,
                                      std::stop_token stop = {});

}  // namespace tw
