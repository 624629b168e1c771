#include "updates/release_feed.h"

#include <algorithm>
#include <chrono>
#include <set>
#include <vector>

#include "core/date.h"

namespace tw {
namespace {

constexpr std::size_t maxUrlLength = 2048;

std::optional<std::string> stringField(const nlohmann::json& object, const char* key) {
  const auto found = object.find(key);
  if (found == object.end() || !found->is_string()) return std::nullopt;
  return found->get<std::string>();
}

// "YYYY-MM-DD" naming a day that exists.
bool isCalendarDate(std::string_view text) {
  if (text.size() != 10 || text[4] != '-' || text[7] != '-') return false;
  const auto digits = [&](std::size_t at, std::size_t count) {
    int value = 0;
    for (std::size_t i = at; i < at + count; ++i) {
      if (text[i] < '0' || text[i] > '9') return -1;
      value = value * 10 + (text[i] - '0');
    }
    return value;
  };
  const int year = digits(0, 4);
  const int month = digits(5, 2);
  const int day = digits(8, 2);
  if (year < 0 || month < 0 || day < 0) return false;
  const std::chrono::year_month_day date{std::chrono::year{year}, std::chrono::month{static_cast<unsigned>(month)},
                                         std::chrono::day{static_cast<unsigned>(day)}};
  return date.ok();
}

bool isReleaseDate(std::string_view text) { return isCalendarDate(text) || parseIso8601(text).has_value(); }

// JSON that says one key twice means different things to different readers; refuse it.
nlohmann::json parseWithoutDuplicateKeys(std::string_view body) {
  std::vector<std::set<std::string>> keysPerObject;
  bool duplicate = false;
  const nlohmann::json::parser_callback_t watch = [&](int, nlohmann::json::parse_event_t event,
                                                      nlohmann::json& parsed) {
    using Event = nlohmann::json::parse_event_t;
    if (event == Event::object_start) keysPerObject.emplace_back();
    if (event == Event::object_end) keysPerObject.pop_back();
    if (event == Event::key && !keysPerObject.back().insert(parsed.get<std::string>()).second) duplicate = true;
    return true;
  };
  auto parsed = nlohmann::json::parse(body, watch, /*allow_exceptions=*/false);
  return duplicate ? nlohmann::json(nlohmann::json::value_t::discarded) : parsed;
}

}  // namespace

bool isHttpsUrl(std::string_view text) {
  constexpr std::string_view scheme = "https://";
  if (!text.starts_with(scheme) || text.size() > maxUrlLength) return false;
  const std::string_view rest = text.substr(scheme.size());
  if (rest.empty() || rest.front() == '/') return false;
  return std::all_of(text.begin(), text.end(), [](char c) { return c > ' ' && c < 0x7f; });
}

std::optional<ReleaseFeed> releaseFeedFromJson(const nlohmann::json& object) {
  if (!object.is_object()) return std::nullopt;
  const auto version = stringField(object, "version");
  const auto date = stringField(object, "date");
  const auto notes = stringField(object, "notes");
  const auto download = stringField(object, "download");
  if (!version || !date || !notes || !download) return std::nullopt;
  auto parsed = parseSemanticVersion(*version);
  if (!parsed || !isReleaseDate(*date) || !isHttpsUrl(*notes) || !isHttpsUrl(*download)) return std::nullopt;
  return ReleaseFeed{std::move(*parsed), *date, *notes, *download};
}

std::optional<ReleaseFeed> parseReleaseFeed(std::string_view body) {
  if (body.size() > maxReleaseFeedBytes) return std::nullopt;
  // Invalid UTF-8, trailing text and a second value all fail the parse.
  const auto parsed = parseWithoutDuplicateKeys(body);
  if (parsed.is_discarded()) return std::nullopt;
  return releaseFeedFromJson(parsed);
}

nlohmann::json releaseFeedJson(const ReleaseFeed& feed) {
  return {
      {"version", feed.version.text()}, {"date", feed.date}, {"notes", feed.notesUrl}, {"download", feed.downloadUrl}};
}

}  // namespace tw
