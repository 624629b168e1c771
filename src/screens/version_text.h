#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace tw {

// Orders version names the way people read them: runs of digits by their value, other
// text as text, so "1.10" > "1.9", "2023.3" > "2022.10", and a pre-release ("1.2.0-rc1")
// before its release ("1.2.0"). Returns <0, 0 or >0.
[[nodiscard]] int compareVersions(std::string_view left, std::string_view right);

// Whether `version` is `wanted` or lies inside it: "18" holds "18.19.0" and "3.11" holds
// "3.11.4", but "1.7" does not hold "1.70.0".
[[nodiscard]] bool versionWithin(std::string_view version, std::string_view wanted);

// The newest of `versions` within `wanted` (see versionWithin); empty when none is.
[[nodiscard]] std::string newestWithin(const std::vector<std::string>& versions, std::string_view wanted);

}  // namespace tw
