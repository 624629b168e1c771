#pragma once

#include <string>
#include <string_view>

namespace tw {

// A fresh random (version 4) UUID in its canonical hyphenated lower-case form.
[[nodiscard]] std::string makeUuid();

// Whether `text` is a UUID in the hyphenated form, in either case.
[[nodiscard]] bool isUuid(std::string_view text);

}  // namespace tw
