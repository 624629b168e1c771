#pragma once

#include <cstdint>
#include <limits>

namespace tw {

// Byte counts add up without wrapping: a sum that would overflow stays at the largest
// value (or the smallest, for negative amounts), so a total is never shown negative.
[[nodiscard]] constexpr std::int64_t saturatingAdd(std::int64_t left, std::int64_t right) {
  std::int64_t sum = 0;
  if (!__builtin_add_overflow(left, right, &sum)) return sum;
  return right > 0 ? std::numeric_limits<std::int64_t>::max() : std::numeric_limits<std::int64_t>::min();
}

}  // namespace tw
