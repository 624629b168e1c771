#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "core/date.h"

namespace tw {

struct Usage {
  std::int64_t size = 0;
  std::int64_t freeable = 0;
  friend bool operator==(const Usage&, const Usage&) = default;
};

// One result per inner list, in order; every path is measured concurrently.
[[nodiscard]] std::vector<Usage> measure(const std::vector<std::vector<std::string>>& groups);

// One result per distinct path.
[[nodiscard]] std::map<std::string, Usage> measure(const std::vector<std::string>& paths);

// When the path was last used (its access time on Linux), never later than now.
[[nodiscard]] std::optional<Date> lastUsed(const std::string& path);

}  // namespace tw
