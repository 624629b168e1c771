#pragma once

#include <optional>

#include <nlohmann/json.hpp>

#include "core/context.h"
#include "core/date.h"
#include "updates/https_fetch.h"
#include "updates/update_check.h"

namespace tw {

// The opt-in update check as the app runs it: the one place that reads the context's settings
// store and environment for it.
struct Updates {
  static constexpr const char* enabledKey = "updateCheck";             // bool, default false
  static constexpr const char* feedUrlKey = "updateFeedURL";           // string, default the built-in feed
  static constexpr const char* lastCheckKey = "lastUpdateCheck";       // timestamp, absent until the first check
  static constexpr const char* announcedKey = "lastAnnouncedVersion";  // string, absent until the first notice
  static constexpr const char* latestKey = "latestRelease";            // the last feed, as the feed wrote it
  static constexpr const char* feedVariable = "TIDEWARDEN_UPDATE_FEED";

  // The keys a settings screen shows, with their defaults.
  [[nodiscard]] static nlohmann::json defaults();

  // Asks the feed when the check is on and a day has passed, remembers the outcome in the
  // settings, and says what to show: nothing, or the notice with whether to notify now.
  // Blocks for at most the fetch time-out, so call it off the window's thread. `options`
  // is for the network only (a test's certificate); the User-Agent is always the version.
  [[nodiscard]] static std::optional<UpdateNotice> run(const Context& context, Date now,
                                                       const HttpsFetchOptions& options = {});
};

}  // namespace tw
