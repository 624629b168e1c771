#pragma once

#include <optional>
#include <string>

#include "core/date.h"
#include "updates/https_fetch.h"
#include "updates/release_feed.h"
#include "updates/semantic_version.h"

namespace tw {

// What the update check remembers from one run to the next.
struct UpdateCheckState {
  bool enabled = false;  // off until the user turns it on
  std::string feedUrl;
  std::optional<Date> lastCheck;                // the last time the feed was asked, answered or not
  std::optional<std::string> announcedVersion;  // the last version a notification was sent for
  std::optional<ReleaseFeed> latest;            // the last feed that parsed
};

// "Tidewarden X is available": the window shows it for as long as X is newer than the
// running version; a notification goes out only when `notify` is set, once per version.
struct UpdateNotice {
  std::string version;
  std::string title;
  std::string notesUrl;
  std::string downloadUrl;
  bool notify = false;
};

struct UpdateCheckOutcome {
  UpdateCheckState state;  // to remember for the next run
  std::optional<UpdateNotice> notice;
  bool askedFeed = false;
};

// The check as functions of their inputs: the remembered state, the clock, the running
// version and the network options. The settings store and the environment are read by
// the caller (see updates.h).
namespace UpdateCheck {

inline constexpr const char* defaultFeedUrl = "https://tidewarden.github.io/feed/latest.json";
inline constexpr std::chrono::hours interval{24};

// The environment's feed wins over the setting, the setting over the built-in default;
// an empty value counts as none.
[[nodiscard]] std::string feedUrl(const std::optional<std::string>& setting,
                                  const std::optional<std::string>& environment);

// On, and a day or more since the last check (or a last check in the future, when the
// clock was set back).
[[nodiscard]] bool isDue(const UpdateCheckState& state, Date now);

// A newer version; a pre-release only to someone already running a pre-release.
[[nodiscard]] bool isOffered(const SemanticVersion& candidate, const SemanticVersion& running);

// What the window should show now from what the state remembers; marks a notified
// version as announced in the state.
[[nodiscard]] std::optional<UpdateNotice> notice(UpdateCheckState& state, const SemanticVersion& running);

// Asks the feed when the check is due; failures of any kind leave the last known release
// in place and wait for the next day.
[[nodiscard]] UpdateCheckOutcome run(UpdateCheckState state, Date now, const SemanticVersion& running,
                                     HttpsFetchOptions options);

}  // namespace UpdateCheck
}  // namespace tw
