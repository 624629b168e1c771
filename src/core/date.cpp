#include "core/date.h"

#include <fmt/format.h>
#include <algorithm>
#include <ctime>

namespace tw {
namespace {

bool readDigits(std::string_view text, std::size_t& at, int count, int& out) {
  if (at + static_cast<std::size_t>(count) > text.size()) return false;
  out = 0;
  for (int i = 0; i < count; ++i) {
    const char c = text[at++];
    if (c < '0' || c > '9') return false;
    out = out * 10 + (c - '0');
  }
  return true;
}

bool expect(std::string_view text, std::size_t& at, char c) {
  if (at >= text.size() || text[at] != c) return false;
  ++at;
  return true;
}

}  // namespace

// The clock counts nanoseconds in 64 bits, so it spans about 292 years either side of
// 1970; dates outside that are clamped rather than overflowing.
constexpr std::int64_t representableSeconds =
    std::chrono::duration_cast<std::chrono::seconds>(Date::duration::max()).count() - 1;

Date dateFromSeconds(std::int64_t seconds) {
  return Date{std::chrono::seconds{std::clamp(seconds, -representableSeconds, representableSeconds)}};
}

std::int64_t secondsSince1970(Date date) {
  return std::chrono::floor<std::chrono::seconds>(date.time_since_epoch()).count();
}

std::string iso8601(Date date) {
  const std::time_t seconds = static_cast<std::time_t>(secondsSince1970(date));
  std::tm utc{};
  gmtime_r(&seconds, &utc);
  return fmt::format("{:04}-{:02}-{:02}T{:02}:{:02}:{:02}Z", utc.tm_year + 1900, utc.tm_mon + 1, utc.tm_mday,
                     utc.tm_hour, utc.tm_min, utc.tm_sec);
}

std::optional<Date> parseIso8601(std::string_view text) {
  std::size_t at = 0;
  int year, month, day, hour, minute, second;
  if (!readDigits(text, at, 4, year) || !expect(text, at, '-') || !readDigits(text, at, 2, month) ||
      !expect(text, at, '-') || !readDigits(text, at, 2, day) || !expect(text, at, 'T') ||
      !readDigits(text, at, 2, hour) || !expect(text, at, ':') || !readDigits(text, at, 2, minute) ||
      !expect(text, at, ':') || !readDigits(text, at, 2, second)) {
    return std::nullopt;
  }
  if (month < 1 || month > 12 || day < 1 || day > 31 || hour > 23 || minute > 59 || second > 60) {
    return std::nullopt;
  }
  if (at < text.size() && text[at] == '.') {
    ++at;
    const std::size_t digitsStart = at;
    while (at < text.size() && text[at] >= '0' && text[at] <= '9') ++at;
    if (at == digitsStart) return std::nullopt;
  }
  int offsetSeconds = 0;
  if (at < text.size() && text[at] == 'Z') {
    ++at;
  } else if (at < text.size() && (text[at] == '+' || text[at] == '-')) {
    const int sign = text[at] == '-' ? -1 : 1;
    ++at;
    int offsetHours, offsetMinutes = 0;
    if (!readDigits(text, at, 2, offsetHours)) return std::nullopt;
    if (at < text.size() && text[at] == ':') ++at;
    if (at < text.size() && !readDigits(text, at, 2, offsetMinutes)) return std::nullopt;
    offsetSeconds = sign * (offsetHours * 3600 + offsetMinutes * 60);
  } else {
    return std::nullopt;
  }
  if (at != text.size()) return std::nullopt;
  const std::chrono::year_month_day calendarDay{std::chrono::year{year},
                                                std::chrono::month{static_cast<unsigned>(month)},
                                                std::chrono::day{static_cast<unsigned>(day)}};
  if (!calendarDay.ok()) return std::nullopt;
  const auto days = std::chrono::sys_days{calendarDay};
  const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(days.time_since_epoch()) +
                       std::chrono::hours{hour} + std::chrono::minutes{minute} + std::chrono::seconds{second} -
                       std::chrono::seconds{offsetSeconds};
  if (seconds.count() > representableSeconds || seconds.count() < -representableSeconds) return std::nullopt;
  return Date{seconds};
}

std::string localDateTime(Date date) {
  const std::time_t seconds = static_cast<std::time_t>(secondsSince1970(date));
  std::tm local{};
  localtime_r(&seconds, &local);
  return fmt::format("{:04}-{:02}-{:02} {:02}:{:02}", local.tm_year + 1900, local.tm_mon + 1, local.tm_mday,
                     local.tm_hour, local.tm_min);
}

}  // namespace tw
