#pragma once

#include <set>
#include <string>

namespace tw {

// The background rules and the pieces of them that other faces share.
struct Rules {
  // The Smart Clean categories that may be emptied without the user looking at them first:
  // everything an app or a tool rebuilds on its own. The Trash and the installers in
  // Downloads are deliberately absent, so nothing unattended ever empties them.
  static const std::set<std::string>& safeCategories();
};

}  // namespace tw
