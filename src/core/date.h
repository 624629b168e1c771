#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <string_view>

namespace tw {

using Date = std::chrono::system_clock::time_point;

// Thirty days: how long something must have been left alone to count as stale (the stale
// filter, idle projects, old items in the Trash).
inline constexpr std::chrono::seconds staleAge{2'592'000};

// ISO 8601 in UTC with whole seconds, e.g. "2026-08-02T09:41:07Z".
[[nodiscard]] std::string iso8601(Date date);

// Accepts "Z" or a numeric offset and, when present, fractional seconds.
[[nodiscard]] std::optional<Date> parseIso8601(std::string_view text);

// "yyyy-MM-dd HH:mm" in the local time zone, for text output.
[[nodiscard]] std::string localDateTime(Date date);

[[nodiscard]] Date dateFromSeconds(std::int64_t secondsSince1970);
[[nodiscard]] std::int64_t secondsSince1970(Date date);

}  // namespace tw
