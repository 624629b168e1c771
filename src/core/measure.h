#pragma once

#include <map>
#include <optional>
#include <stop_token>
#include <string>
#include <vector>

#include "core/date.h"
#include "fs/usage.h"

namespace tw {

// One result per inner list, in order; every path is measured concurrently. After a stop
// request the remaining paths count as 0 (the caller throws the result away).
[[nodiscard]] std::vector<Usage> measure(const std::vector<std::vector<std::string>>& groups,
                                         std::stop_token stop = {});

// One result per distinct path.
[[nodiscard]] std::map<std::string, Usage> measure(const std::vector<std::string>& paths, std::stop_token stop = {});

// When the path was last used (its access time on Linux), never later than now.
[[nodiscard]] std::optional<Date> lastUsed(const std::string& path);

}  // namespace tw
