#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace tw {

// The integer a git command printed, white space around it ignored; nothing when the text
// is anything else.
[[nodiscard]] std::optional<std::int64_t> wholeNumber(std::string_view text);

// Lines that hold something, as `git status --porcelain` prints one per changed path.
[[nodiscard]] std::int64_t nonEmptyLineCount(std::string_view text);

}  // namespace tw
