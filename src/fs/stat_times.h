#pragma once

#include <sys/stat.h>

#include <cstdint>

namespace tw {

// A stat record's modification and change times in nanoseconds; the field names differ
// between platforms.
[[nodiscard]] std::int64_t modifiedNanoseconds(const struct stat& info);
[[nodiscard]] std::int64_t changedNanoseconds(const struct stat& info);

}  // namespace tw
