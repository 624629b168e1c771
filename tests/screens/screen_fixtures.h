#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "core/dev_group.h"
#include "support/file_fixtures.h"

namespace tw::test {

inline constexpr std::int64_t MiB = 1024 * 1024;

// Each group by its id, with its items' names in name order, each followed by "*" when it
// is ticked.
[[nodiscard]] std::map<std::string, std::vector<std::string>> summary(const ProviderResult& result);

// The item with this id, or a test failure.
[[nodiscard]] const DevItem& itemWithId(const ProviderResult& result, const std::string& id);

}  // namespace tw::test
