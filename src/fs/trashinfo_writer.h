#pragma once

#include <chrono>
#include <string>
#include <string_view>

namespace tw {

// The whole freedesktop info file for an item trashed from `path` (absolute, or relative
// to the top folder of a volume Trash) at `deletionDate`, written in local time.
[[nodiscard]] std::string formatTrashInfo(std::string_view path, std::chrono::system_clock::time_point deletionDate);

// Every byte but letters, digits and "-_.~/" as %XX.
[[nodiscard]] std::string percentEncoded(std::string_view text);

}  // namespace tw
