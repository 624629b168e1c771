#include <gtest/gtest.h>

#include <chrono>

#include "core/app_paths.h"
#include "core/settings.h"
#include "core/version.h"
#include "support/fake_home.h"
#include "support/https_feed_server.h"
#include "updates/updates.h"

namespace tw {
namespace {

using namespace std::chrono_literals;

const Date monday = dateFromSeconds(1'800'000'000);

std::string feed(const std::string& version) {
  return nlohmann::json{{"version", version},
                        {"date", "2026-12-01"},
                        {"notes", "https://tidewarden.github.io/releases/" + version},
                        {"download", "https://tidewarden.github.io/download/" + version}}
      .dump();
}

// The check against a real HTTPS feed: the state as the settings hold it, the clock and
// the running version are the inputs; the server is the feed.
class UpdateCheckAgainstAFeed : public ::testing::Test {
 protected:
  void SetUp() override {
    if (auto reason = test::HttpsFeedServer::unavailableReason()) GTEST_SKIP() << *reason;
    server_.emplace();
  }

  [[nodiscard]] UpdateCheckOutcome check(const std::string& path, const std::string& running,
                                         UpdateCheckState state = {}, Date now = monday) const {
    state.enabled = true;
    state.feedUrl = server_->url(path);
    return UpdateCheck::run(state, now, parseSemanticVersion(running).value(), trust());
  }

  [[nodiscard]] HttpsFetchOptions trust() const { return {.timeout = 2s, .caFile = server_->certificate()}; }

  std::optional<test::HttpsFeedServer> server_;
};

TEST_F(UpdateCheckAgainstAFeed, ANewerVersionIsAnnouncedWithItsNotesAndTheUserAgentNamesTheVersion) {
  server_->serve("feed.json", feed("0.2.0"));
  const auto outcome = check("feed.json", "0.1.0");
  EXPECT_TRUE(outcome.askedFeed);
  ASSERT_TRUE(outcome.notice.has_value());
  EXPECT_EQ(outcome.notice->title, "Tidewarden 0.2.0 is available");
  EXPECT_EQ(outcome.notice->notesUrl, "https://tidewarden.github.io/releases/0.2.0");
  EXPECT_TRUE(outcome.notice->notify);
  EXPECT_EQ(outcome.state.lastCheck, monday);
  EXPECT_EQ(outcome.state.announcedVersion, "0.2.0");

  const auto requests = server_->requests();
  ASSERT_EQ(requests.size(), 1u);
  std::string userAgent;
  for (const auto& header : requests[0]["headers"]) {
    if (header[0] == "User-Agent") userAgent = header[1];
  }
  EXPECT_EQ(userAgent, "Tidewarden/0.1.0");
}

TEST_F(UpdateCheckAgainstAFeed, TheSameAnOlderOrAPreReleaseForAReleaseUserIsNoNews) {
  for (const auto& [published, running] : std::vector<std::pair<std::string, std::string>>{
           {"0.1.0", "0.1.0"}, {"0.0.9", "0.1.0"}, {"0.2.0-rc.1", "0.1.0"}, {"0.2.0-rc.1", "0.2.0"}}) {
    server_->serve("feed.json", feed(published));
    const auto outcome = check("feed.json", running);
    EXPECT_TRUE(outcome.askedFeed);
    EXPECT_FALSE(outcome.notice.has_value()) << published << " to " << running;
    EXPECT_EQ(outcome.state.lastCheck, monday);
  }
}

TEST_F(UpdateCheckAgainstAFeed, PreReleasesReachThoseRunningOne) {
  server_->serve("feed.json", feed("0.2.0-rc.2"));
  const auto outcome = check("feed.json", "0.2.0-rc.1");
  ASSERT_TRUE(outcome.notice.has_value());
  EXPECT_EQ(outcome.notice->title, "Tidewarden 0.2.0-rc.2 is available");
}

TEST_F(UpdateCheckAgainstAFeed, FailuresOfEveryKindAreSilentKeepWhatWasKnownAndWaitADay) {
  server_->serve("malformed.json", R"({"version": "0.3.0", "date": "2026-12-01"})");
  server_->serve("feed.json", feed("0.3.0"));
  UpdateCheckState known;
  known.latest = parseReleaseFeed(feed("0.2.0"));
  known.announcedVersion = "0.2.0";
  for (const std::string path :
       {"malformed.json", "large", "endless", "slow/feed.json", "status/404", "status/500", "redirect-to-http"}) {
    const auto outcome = check(path, "0.1.0", known);
    EXPECT_TRUE(outcome.askedFeed) << path;
    EXPECT_EQ(outcome.state.lastCheck, monday) << path;
    ASSERT_TRUE(outcome.notice.has_value()) << path;
    EXPECT_EQ(outcome.notice->version, "0.2.0") << path;
    EXPECT_FALSE(outcome.notice->notify) << path;
  }

  const auto failed = check("status/503", "0.1.0", known);
  const std::size_t asked = server_->requests().size();
  const auto laterThatDay = check("feed.json", "0.1.0", failed.state, monday + 23h);
  EXPECT_FALSE(laterThatDay.askedFeed);
  EXPECT_EQ(server_->requests().size(), asked);
  const auto nextDay = check("feed.json", "0.1.0", failed.state, monday + 24h);
  EXPECT_TRUE(nextDay.askedFeed);
  ASSERT_TRUE(nextDay.notice.has_value());
  EXPECT_EQ(nextDay.notice->version, "0.3.0");
  EXPECT_TRUE(nextDay.notice->notify);
}

// The settings store and TIDEWARDEN_UPDATE_FEED, as the app will use them.
class UpdatesInTheSettings : public UpdateCheckAgainstAFeed {
 protected:
  test::FakeHome home_;
};

TEST_F(UpdatesInTheSettings, OffByDefaultAsksNothingAndWritesNothing) {
  server_->serve("feed.json", feed("9.0.0"));
  test::ScopedEnvironment feedVariable({{Updates::feedVariable, server_->url("feed.json")}});
  EXPECT_FALSE(Updates::run(home_.context(), monday, trust()).has_value());
  EXPECT_TRUE(server_->requests().empty());
  EXPECT_FALSE(test::exists(home_.context().settings->path()));
  EXPECT_EQ(Updates::defaults()[Updates::enabledKey], false);
}

TEST_F(UpdatesInTheSettings, TurnedOnItChecksOnceADayRemembersTheReleaseAndNotifiesOnce) {
  server_->serve("feed.json", feed("9.0.0"));
  home_.context().settings->set(Updates::enabledKey, true);
  home_.context().settings->set(Updates::feedUrlKey, server_->url("status/404"));
  test::ScopedEnvironment feedVariable({{Updates::feedVariable, server_->url("feed.json")}});

  const auto first = Updates::run(home_.context(), monday, trust());
  ASSERT_TRUE(first.has_value());
  EXPECT_EQ(first->title, "Tidewarden 9.0.0 is available");
  EXPECT_TRUE(first->notify);
  ASSERT_EQ(server_->requests().size(), 1u);
  EXPECT_EQ(server_->requests()[0]["path"], "/feed.json") << "the environment wins over the setting";

  const auto stored = nlohmann::json::parse(test::readFile(home_.context().settings->path()));
  EXPECT_EQ(stored[Updates::lastCheckKey], iso8601(monday));
  EXPECT_EQ(stored[Updates::announcedKey], "9.0.0");
  EXPECT_EQ(stored[Updates::latestKey]["version"], "9.0.0");
  EXPECT_EQ(stored[Updates::latestKey]["notes"], "https://tidewarden.github.io/releases/9.0.0");

  const auto sameDay = Updates::run(home_.context(), monday + 5h, trust());
  ASSERT_TRUE(sameDay.has_value());
  EXPECT_FALSE(sameDay->notify);
  EXPECT_EQ(server_->requests().size(), 1u);
}

TEST_F(UpdatesInTheSettings, ADamagedRememberedReleaseIsForgottenNotTrusted) {
  home_.context().settings->set(Updates::enabledKey, true);
  home_.context().settings->setDate(Updates::lastCheckKey, monday);
  home_.context().settings->set(Updates::latestKey, {{"version", "9.0.0"}, {"notes", "javascript:alert(1)"}});
  EXPECT_FALSE(Updates::run(home_.context(), monday + 1h, trust()).has_value());
}

}  // namespace
}  // namespace tw
