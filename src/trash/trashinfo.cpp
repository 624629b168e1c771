#include "trash/trashinfo.h"

#include <ctime>

#include "core/text.h"
#include "fs/path.h"

namespace tw {
namespace {

int hexValue(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

bool digits(std::string_view text, std::size_t at, std::size_t count, int& out) {
  out = 0;
  for (std::size_t i = at; i < at + count; ++i) {
    if (text[i] < '0' || text[i] > '9') return false;
    out = out * 10 + (text[i] - '0');
  }
  return true;
}

bool isGroupHeader(std::string_view line) { return line.starts_with('['); }

// Desktop-entry style "Key=Value" with blanks around '=' ignored.
std::optional<std::pair<std::string, std::string>> keyValue(std::string_view line) {
  const auto equals = line.find('=');
  if (equals == std::string_view::npos) return std::nullopt;
  return std::pair{trimmed(line.substr(0, equals)), trimmed(line.substr(equals + 1))};
}

std::optional<std::string> originalPath(std::string_view value, std::string_view topDir) {
  auto decoded = percentDecoded(value);
  if (!decoded || decoded->empty() || decoded->find('\0') != std::string::npos) return std::nullopt;
  if (decoded->front() == '/') return standardizePath(*decoded);
  // A relative location must stay below its top folder; ".." could aim a put-back anywhere.
  const std::string relative = "/" + *decoded + "/";
  if (relative.find("/../") != std::string::npos) return std::nullopt;
  return standardizePath(joinPath(topDir, *decoded));
}

}  // namespace

std::optional<std::string> percentDecoded(std::string_view text) {
  std::string out;
  out.reserve(text.size());
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] != '%') {
      out += text[i];
      continue;
    }
    if (i + 2 >= text.size()) return std::nullopt;
    const int high = hexValue(text[i + 1]);
    const int low = hexValue(text[i + 2]);
    if (high < 0 || low < 0) return std::nullopt;
    out += static_cast<char>(high * 16 + low);
    i += 2;
  }
  return out;
}

std::optional<Date> parseLocalDateTime(std::string_view text) {
  constexpr std::string_view shape = "dddd-dd-ddTdd:dd:dd";
  if (text.size() != shape.size()) return std::nullopt;
  for (std::size_t i = 0; i < shape.size(); ++i) {
    if (shape[i] != 'd' && text[i] != shape[i]) return std::nullopt;
  }
  int year, month, day, hour, minute, second;
  if (!digits(text, 0, 4, year) || !digits(text, 5, 2, month) || !digits(text, 8, 2, day) ||
      !digits(text, 11, 2, hour) || !digits(text, 14, 2, minute) || !digits(text, 17, 2, second)) {
    return std::nullopt;
  }
  const std::chrono::year_month_day calendar{std::chrono::year{year}, std::chrono::month(static_cast<unsigned>(month)),
                                             std::chrono::day(static_cast<unsigned>(day))};
  if (!calendar.ok() || hour > 23 || minute > 59 || second > 60) return std::nullopt;
  std::tm local{};
  local.tm_year = year - 1900;
  local.tm_mon = month - 1;
  local.tm_mday = day;
  local.tm_hour = hour;
  local.tm_min = minute;
  local.tm_sec = second;
  local.tm_isdst = -1;  // let the zone rules decide, as the writer saw its wall clock
  const std::time_t seconds = std::mktime(&local);
  if (seconds == static_cast<std::time_t>(-1)) return std::nullopt;
  // A Date counts nanoseconds in 64 bits: years much before 1680 or after 2260 do not fit.
  constexpr auto limit = std::chrono::duration_cast<std::chrono::seconds>(Date::duration::max()).count() - 1;
  if (seconds > limit || seconds < -limit) return std::nullopt;
  return dateFromSeconds(seconds);
}

TrashInfo parseTrashInfo(std::string_view text, std::string_view topDir) {
  TrashInfo info;
  bool inGroup = false;
  bool sawPath = false;
  bool sawDate = false;
  for (const std::string& raw : splitLines(text)) {
    const std::string line = trimmed(raw);
    if (line.empty() || line.front() == '#') continue;
    if (isGroupHeader(line)) {
      inGroup = line == "[Trash Info]";
      continue;
    }
    if (!inGroup) continue;
    const auto entry = keyValue(line);
    if (!entry) continue;
    // Later duplicates are ignored, as every other Trash reader does.
    if (entry->first == "Path" && !sawPath) {
      sawPath = true;
      info.path = originalPath(entry->second, topDir);
    } else if (entry->first == "DeletionDate" && !sawDate) {
      sawDate = true;
      info.deletionDate = parseLocalDateTime(entry->second);
    }
  }
  return info;
}

}  // namespace tw
