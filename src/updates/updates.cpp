#include "updates/updates.h"

#include "core/settings.h"
#include "core/version.h"

namespace tw {
namespace {

UpdateCheckState readState(Settings& settings, const std::string& environmentFeed) {
  UpdateCheckState state;
  state.enabled = settings.boolean(Updates::enabledKey);
  state.feedUrl = UpdateCheck::feedUrl(settings.string(Updates::feedUrlKey),
                                       environmentFeed.empty() ? std::nullopt : std::optional(environmentFeed));
  state.lastCheck = settings.date(Updates::lastCheckKey);
  state.announcedVersion = settings.string(Updates::announcedKey);
  if (const auto latest = settings.value(Updates::latestKey)) state.latest = releaseFeedFromJson(*latest);
  return state;
}

// Writes only what changed, so a run that asked nothing leaves the file alone.
void rememberState(Settings& settings, const UpdateCheckState& before, const UpdateCheckState& after) {
  if (after.lastCheck && after.lastCheck != before.lastCheck) settings.setDate(Updates::lastCheckKey, *after.lastCheck);
  if (after.announcedVersion && after.announcedVersion != before.announcedVersion) {
    settings.set(Updates::announcedKey, *after.announcedVersion);
  }
  const auto json = [](const std::optional<ReleaseFeed>& feed) {
    return feed ? releaseFeedJson(*feed) : nlohmann::json();
  };
  if (after.latest && json(after.latest) != json(before.latest)) settings.set(Updates::latestKey, json(after.latest));
}

}  // namespace

nlohmann::json Updates::defaults() { return {{enabledKey, false}, {feedUrlKey, UpdateCheck::defaultFeedUrl}}; }

std::optional<UpdateNotice> Updates::run(const Context& context, Date now, const HttpsFetchOptions& options) {
  const auto running = parseSemanticVersion(version);
  if (!running) return std::nullopt;
  Settings& settings = *context.settings;
  settings.registerDefaults(defaults());
  const UpdateCheckState before = readState(settings, context.variable(feedVariable));
  UpdateCheckOutcome outcome = UpdateCheck::run(before, now, *running, options);
  rememberState(settings, before, outcome.state);
  return outcome.notice;
}

}  // namespace tw
