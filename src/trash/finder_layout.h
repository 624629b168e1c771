#pragma once

#include <map>
#include <set>
#include <string>
#include <vector>

#include "trash/ds_store.h"
#include "trash/trash_item.h"

namespace tw {

// The macOS Trash: ~/.Trash and each volume's .Trashes/<uid>, origins from the Finder's
// put-back records. Pure rules, so they build and are tested everywhere.
struct FinderLayout {
  // (<home>/.Trash, "/"), then "<volumes>/<name>/.Trashes/<uid>" for each volume (in
  // listing order) where that folder exists.
  [[nodiscard]] static std::vector<TrashDir> trashDirs(const std::string& home, const std::string& volumesFolder,
                                                       unsigned uid);

  // The put-back records of `<dir>/.DS_Store` for the entries `names`; empty when the file
  // is missing or unreadable.
  [[nodiscard]] static std::map<std::string, PutBack> putBackInfo(const std::string& dir,
                                                                  const std::set<std::string>& names);

  // Where an item put back from a Trash on `volumeRoot` goes: the recorded folder, taken
  // from the volume root, plus the recorded former name or else the item's own name.
  // Nothing without a recorded folder.
  [[nodiscard]] static std::optional<std::string> origin(const PutBack& putBack, const std::string& itemName,
                                                         const std::string& volumeRoot);
};

}  // namespace tw
