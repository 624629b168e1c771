#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace tw {

// One measured path of a Smart Clean category.
struct JunkItem {
  std::string path;
  std::int64_t size = 0;  // allocated bytes
  bool selected = false;  // starts as the category's defaultSelected

  friend bool operator==(const JunkItem&, const JunkItem&) = default;
};

// What a category's finder found: paths only (never sizes), and a note for the user when
// the category is empty or incomplete for a reason they can fix.
struct JunkFinding {
  std::vector<std::string> paths;
  std::optional<std::string> note;
};

}  // namespace tw
