#include "updates/update_check.h"

namespace tw::UpdateCheck {

std::string feedUrl(const std::optional<std::string>& setting, const std::optional<std::string>& environment) {
  if (environment && !environment->empty()) return *environment;
  if (setting && !setting->empty()) return *setting;
  return defaultFeedUrl;
}

bool isDue(const UpdateCheckState& state, Date now) {
  if (!state.enabled) return false;
  if (!state.lastCheck) return true;
  return now < *state.lastCheck || now - *state.lastCheck >= interval;
}

bool isOffered(const SemanticVersion& candidate, const SemanticVersion& running) {
  if (candidate.isPreRelease() && !running.isPreRelease()) return false;
  return precedence(candidate, running) > 0;
}

std::optional<UpdateNotice> notice(UpdateCheckState& state, const SemanticVersion& running) {
  if (!state.enabled || !state.latest || !isOffered(state.latest->version, running)) return std::nullopt;
  const ReleaseFeed& latest = *state.latest;
  const std::string version = latest.version.text();
  UpdateNotice shown{.version = version,
                     .title = "Tidewarden " + version + " is available",
                     .notesUrl = latest.notesUrl,
                     .downloadUrl = latest.downloadUrl,
                     .notify = state.announcedVersion != version};
  if (shown.notify) state.announcedVersion = version;
  return shown;
}

UpdateCheckOutcome run(UpdateCheckState state, Date now, const SemanticVersion& running, HttpsFetchOptions options) {
  UpdateCheckOutcome outcome;
  if (isDue(state, now)) {
    options.userAgent = "Tidewarden/" + running.text();
    const HttpsFetchResult fetched = fetchOverHttps(state.feedUrl, options);
    if (fetched.ok()) {
      if (auto feed = parseReleaseFeed(fetched.body)) state.latest = std::move(*feed);
    }
    state.lastCheck = now;
    outcome.askedFeed = true;
  }
  outcome.notice = notice(state, running);
  outcome.state = std::move(state);
  return outcome;
}

}  // namespace tw::UpdateCheck
