#pragma once

#include <functional>
#include <set>
#include <stop_token>
#include <string>
#include <vector>

#include "junk/junk_item.h"
#include "junk/junk_table.h"

namespace tw {

// The helpers every Smart Clean finder is made of. They take absolute paths, only read
// the file system, never follow a symbolic link into a folder, and treat a folder that is
// missing, unreadable or not a folder as empty.
struct JunkFinders {
  using NameFilter = std::function<bool(const std::string& name)>;

  // `<folder>/<name>` for every name directly inside the folder (hidden ones too) except
  // ".DS_Store" and those `where` rejects, in listing order.
  [[nodiscard]] static std::vector<std::string> kids(const std::string& folder, const NameFilter& where = {});
  // The paths that exist (as anything, a dangling link included), in order.
  [[nodiscard]] static std::vector<std::string> existing(const std::vector<std::string>& paths);
  // Folders named one of `names`, 1 to `maxDepth` levels below `root`; a match is not
  // looked inside, and links are never walked into.
  [[nodiscard]] static std::vector<std::string> cacheFolders(const std::string& root,
                                                             const std::set<std::string>& names, int maxDepth,
                                                             std::stop_token stop = {});

  // For every folder directly inside `root` (not a link), each of `insidePaths` in it that
  // is a folder, with a link to a plain sibling name read as that sibling: the removal
  // path follows no link, so an item is named by its real path.
  [[nodiscard]] static std::vector<std::string> insideEach(const std::string& root,
                                                           const std::vector<std::string>& insidePaths);

  // Everything a category's sources find, in source order; a stop request ends the
  // search between folders.
  [[nodiscard]] static JunkFinding find(const std::vector<JunkSource>& sources, const JunkRoots& roots,
                                        std::stop_token stop = {});
};

}  // namespace tw
