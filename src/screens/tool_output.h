#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace tw {

// The words of one line of a tool's table, split at runs of spaces and tabs.
[[nodiscard]] std::vector<std::string> words(std::string_view line);

// The fields of one line split at each tab (empty fields kept).
[[nodiscard]] std::vector<std::string> tabFields(std::string_view line);

// The lines of a table with their header line (the first non-empty one) dropped, split
// into words; empty lines are left out.
[[nodiscard]] std::vector<std::vector<std::string>> tableRows(std::string_view text);

}  // namespace tw
