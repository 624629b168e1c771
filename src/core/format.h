#pragma once

#include <cstdint>
#include <string>

#include "core/date.h"

namespace tw {

// The one size formatter: decimal units, "0 bytes", "1 byte", "1 KB", "12.3 MB", "1.5 GB".
[[nodiscard]] std::string byteFormatter(std::int64_t bytes);

// Short relative age such as "3 days ago"; a date in the future reads "just now".
[[nodiscard]] std::string ago(Date date, Date now = std::chrono::system_clock::now());

}  // namespace tw
