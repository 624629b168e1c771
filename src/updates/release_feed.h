#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include <nlohmann/json.hpp>

#include "updates/semantic_version.h"

namespace tw {

// The newest release as the version feed announces it. The feed is one JSON object:
//   {"version": "0.2.0", "date": "2026-12-01",
//    "notes": "https://…/releases/0.2.0", "download": "https://…/tidewarden_0.2.0_amd64.deb"}
// Other keys are ignored, so a later feed can add some without breaking this version.
struct ReleaseFeed {
  SemanticVersion version;
  std::string date;  // as published: a calendar date or an ISO 8601 date and time
  std::string notesUrl;
  std::string downloadUrl;
};

// A feed larger than this is not a version feed; reading stops there.
inline constexpr std::size_t maxReleaseFeedBytes = 64 * 1024;

// Nothing unless the body is exactly one JSON object with all four keys, each a string of
// the right form: a semantic version, a valid date, and https:// links without blanks or
// control characters (they are shown and opened as they stand).
[[nodiscard]] std::optional<ReleaseFeed> parseReleaseFeed(std::string_view body);
[[nodiscard]] std::optional<ReleaseFeed> releaseFeedFromJson(const nlohmann::json& object);
[[nodiscard]] nlohmann::json releaseFeedJson(const ReleaseFeed& feed);

// An absolute https:// URL with a host, printable ASCII only, of a sane length.
[[nodiscard]] bool isHttpsUrl(std::string_view text);

}  // namespace tw
