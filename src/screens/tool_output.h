#pragma once

#include <cstdint>
#include <optional>
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

// A size as tools print it in decimal units ("512B", "4.10MB", "1.2 GB", "220kB");
// nothing for anything else.
[[nodiscard]] std::optional<std::int64_t> decimalSize(std::string_view text);

}  // namespace tw
