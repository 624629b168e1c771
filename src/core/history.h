#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "core/date.h"

namespace tw {

struct HistoryEntry {
  std::string id;  // canonical hyphenated UUID
  Date date;
  std::string category;
  std::string name;
  std::int64_t bytes = 0;
  std::optional<std::string> restore;
};

// The persistent log of every removal: one JSON array in
// <application support>/history.json, newest last, at most 5000 entries.
struct History {
  static constexpr std::size_t cap = 5000;

  // Never reports failure; does nothing in sample-data mode.
  static void record(const std::string& category, const std::string& name, std::int64_t bytes,
                     const std::optional<std::string>& restore);
  // Oldest first; any failure reads as the empty list.
  [[nodiscard]] static std::vector<HistoryEntry> entries();
  static void clear();
  [[nodiscard]] static std::string filePath();
};

}  // namespace tw
