#pragma once

#include <optional>
#include <string>
#include <vector>

#include "core/dev_group.h"

namespace tw {

// An item whose size is measured once every item of a scan is known, so that all paths
// of the scan are measured together, in parallel.
struct ItemToMeasure {
  DevItem item;
  std::vector<std::string> measured;  // none: the item's size is already set
  // The owning tool also frees the data that other names share (a package manager's
  // hard-linked object store), so all of the size is freeable.
  bool freesShared = false;
};

// The items with their sizes set from their measured paths.
[[nodiscard]] std::vector<DevItem> measuredItems(std::vector<ItemToMeasure> pending);

// A group of items ordered by freeable bytes, or nothing when there are no items.
[[nodiscard]] DevGroupPtr groupOf(const std::string& id, const std::string& title, const std::string& subtitle,
                                  const std::string& icon, std::vector<DevItem> items);

// One sentence naming what could not be checked and why, or nothing:
// "Not checked: snaps (snapd isn't running); the journal (journalctl isn't installed)."
[[nodiscard]] std::optional<std::string> notCheckedNote(const std::vector<std::string>& reasons);

// The note of a scan: what could not be checked, after `empty` when nothing was found.
[[nodiscard]] std::optional<std::string> scanNote(bool foundAnything, const std::string& empty,
                                                  const std::vector<std::string>& reasons);

}  // namespace tw
