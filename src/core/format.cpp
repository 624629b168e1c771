#include "core/format.h"

#include <fmt/format.h>
#include <array>
#include <cmath>
#include <cstdlib>

namespace tw {
namespace {

constexpr std::array<const char*, 7> units{"bytes", "KB", "MB", "GB", "TB", "PB", "EB"};

int decimalsFor(std::size_t unit) { return unit <= 1 ? 0 : unit == 2 ? 1 : 2; }

std::string withoutTrailingZeros(std::string number) {
  if (number.find('.') == std::string::npos) return number;
  while (number.back() == '0') number.pop_back();
  if (number.back() == '.') number.pop_back();
  return number;
}

}  // namespace

std::string byteFormatter(std::int64_t bytes) {
  if (bytes == 1) return "1 byte";
  if (bytes == -1) return "-1 byte";
  const double magnitude = std::fabs(static_cast<double>(bytes));
  const char* sign = bytes < 0 ? "-" : "";
  if (magnitude < 1000) return fmt::format("{}{} bytes", sign, static_cast<long long>(magnitude));
  std::size_t unit = 1;
  double value = magnitude / 1000;
  for (;;) {
    const int decimals = decimalsFor(unit);
    const double scale = std::pow(10.0, decimals);
    const double rounded = std::round(value * scale) / scale;
    // A value that rounds up to 1000 of a unit is shown in the next one.
    if (rounded >= 1000 && unit + 1 < units.size()) {
      value /= 1000;
      ++unit;
      continue;
    }
    return fmt::format("{}{} {}", sign, withoutTrailingZeros(fmt::format("{:.{}f}", rounded, decimals)), units[unit]);
  }
}

std::string ago(Date date, Date now) {
  const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(now - date).count();
  if (seconds < 60) return "just now";
  const auto phrase = [](long long count, const char* unit) {
    return fmt::format("{} {}{} ago", count, unit, count == 1 ? "" : "s");
  };
  if (seconds < 3600) return phrase(seconds / 60, "minute");
  if (seconds < 86400) return phrase(seconds / 3600, "hour");
  const long long days = seconds / 86400;
  if (days < 30) return phrase(days, "day");
  if (days < 365) return phrase(days / 30, "month");
  return phrase(days / 365, "year");
}

}  // namespace tw
