#pragma once

#include <string>
#include <string_view>

namespace tw {

// Whether `text` contains `search`, ignoring case by the rules of the user's locale
// (Unicode letters too, not only ASCII). Invalid UTF-8 bytes compare as themselves.
[[nodiscard]] bool containsIgnoringCase(std::string_view text, std::string_view search);

// The lower-case form used for that comparison.
[[nodiscard]] std::u32string foldedCase(std::string_view text);

}  // namespace tw
