#include "screens/git_output.h"

#include <charconv>

#include "core/text.h"

namespace tw {

std::optional<std::int64_t> wholeNumber(std::string_view text) {
  const std::string clean = trimmed(text);
  std::int64_t value = 0;
  const char* end = clean.data() + clean.size();
  const auto [stop, error] = std::from_chars(clean.data(), end, value);
  if (clean.empty() || error != std::errc() || stop != end) return std::nullopt;
  return value;
}

std::int64_t nonEmptyLineCount(std::string_view text) {
  std::int64_t count = 0;
  for (const auto& line : splitLines(text)) {
    if (!line.empty()) ++count;
  }
  return count;
}

}  // namespace tw
