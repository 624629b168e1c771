#include "screens/tool_output.h"

#include "core/text.h"

namespace tw {

std::vector<std::string> words(std::string_view line) {
  std::vector<std::string> found;
  std::size_t position = 0;
  while (position < line.size()) {
    const std::size_t start = line.find_first_not_of(" \t\r", position);
    if (start == std::string_view::npos) break;
    const std::size_t end = line.find_first_of(" \t\r", start);
    found.emplace_back(line.substr(start, end == std::string_view::npos ? std::string_view::npos : end - start));
    position = end == std::string_view::npos ? line.size() : end;
  }
  return found;
}

std::vector<std::string> tabFields(std::string_view line) {
  std::vector<std::string> fields;
  std::size_t start = 0;
  for (;;) {
    const std::size_t tab = line.find('\t', start);
    fields.emplace_back(line.substr(start, tab == std::string_view::npos ? std::string_view::npos : tab - start));
    if (tab == std::string_view::npos) return fields;
    start = tab + 1;
  }
}

std::vector<std::vector<std::string>> tableRows(std::string_view text) {
  std::vector<std::vector<std::string>> rows;
  bool header = true;
  for (const auto& line : splitLines(text)) {
    auto found = words(line);
    if (found.empty()) continue;
    if (header) {
      header = false;
      continue;
    }
    rows.push_back(std::move(found));
  }
  return rows;
}

}  // namespace tw
