#include "screens/tool_output.h"

#include <cctype>
#include <charconv>

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

std::optional<std::int64_t> decimalSize(std::string_view text) {
  static constexpr std::pair<std::string_view, double> units[] = {{"B", 1},    {"kB", 1e3}, {"KB", 1e3},
                                                                  {"MB", 1e6}, {"GB", 1e9}, {"TB", 1e12}};
  const std::string trimmedText = trimmed(text);
  std::size_t end = 0;
  while (end < trimmedText.size() &&
         (std::isdigit(static_cast<unsigned char>(trimmedText[end])) != 0 || trimmedText[end] == '.')) {
    ++end;
  }
  if (end == 0) return std::nullopt;
  double number = 0;
  const auto parsed = std::from_chars(trimmedText.data(), trimmedText.data() + end, number);
  if (parsed.ec != std::errc{} || parsed.ptr != trimmedText.data() + end) return std::nullopt;
  const std::string unit = trimmed(std::string_view(trimmedText).substr(end));
  for (const auto& [name, factor] : units) {
    if (unit == name) return static_cast<std::int64_t>(number * factor + 0.5);
  }
  return std::nullopt;
}

}  // namespace tw
