#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace tw {

// Replaces every byte sequence that is not valid UTF-8 with U+FFFD.
[[nodiscard]] std::string validUtf8(std::string_view bytes);

// Number of characters (code points) of UTF-8 text; invalid bytes count one each.
[[nodiscard]] std::size_t characterCount(std::string_view text);

// The first `count` characters of UTF-8 text.
[[nodiscard]] std::string firstCharacters(std::string_view text, std::size_t count);

[[nodiscard]] std::string trimmed(std::string_view text);
[[nodiscard]] std::vector<std::string> splitLines(std::string_view text);
[[nodiscard]] std::string lowercased(std::string_view text);

}  // namespace tw
