#include <gtest/gtest.h>

#include "updates/update_check.h"

namespace tw {
namespace {

using namespace std::chrono_literals;

const Date monday = dateFromSeconds(1'800'000'000);

SemanticVersion version(const std::string& text) { return parseSemanticVersion(text).value(); }

ReleaseFeed release(const std::string& text) {
  return {version(text), "2026-12-01", "https://a.example/notes/" + text, "https://a.example/get/" + text};
}

TEST(UpdateCheck, TheEnvironmentsFeedWinsOverTheSettingWhichWinsOverTheDefault) {
  EXPECT_EQ(UpdateCheck::feedUrl(std::nullopt, std::nullopt), UpdateCheck::defaultFeedUrl);
  EXPECT_EQ(UpdateCheck::feedUrl("https://mirror.example/f.json", std::nullopt), "https://mirror.example/f.json");
  EXPECT_EQ(UpdateCheck::feedUrl("https://mirror.example/f.json", "https://127.0.0.1:8443/f.json"),
            "https://127.0.0.1:8443/f.json");
  EXPECT_EQ(UpdateCheck::feedUrl("", ""), UpdateCheck::defaultFeedUrl);
  EXPECT_TRUE(std::string(UpdateCheck::defaultFeedUrl).starts_with("https://"));
}

TEST(UpdateCheck, IsDueOnlyWhenOnAndADayHasPassedOrTheClockWentBack) {
  const auto state = [](bool enabled, std::optional<Date> lastCheck) {
    UpdateCheckState result;
    result.enabled = enabled;
    result.lastCheck = lastCheck;
    return result;
  };
  EXPECT_FALSE(UpdateCheck::isDue(state(false, std::nullopt), monday));
  EXPECT_FALSE(UpdateCheck::isDue(state(false, monday - 30 * 24h), monday));
  EXPECT_TRUE(UpdateCheck::isDue(state(true, std::nullopt), monday));
  EXPECT_FALSE(UpdateCheck::isDue(state(true, monday), monday));
  EXPECT_FALSE(UpdateCheck::isDue(state(true, monday - 23h - 59min), monday));
  EXPECT_TRUE(UpdateCheck::isDue(state(true, monday - 24h), monday));
  EXPECT_TRUE(UpdateCheck::isDue(state(true, monday + 3h), monday));
}

TEST(UpdateCheck, OffersNewerReleasesAndPreReleasesOnlyToPreReleaseUsers) {
  const std::vector<std::tuple<std::string, std::string, bool>> cases{
      // candidate, running, offered
      {"0.2.0", "0.1.0", true},
      {"0.1.0", "0.1.0", false},
      {"0.1.0+build.9", "0.1.0", false},
      {"0.0.9", "0.1.0", false},
      {"1.0.0", "0.9.9", true},
      {"0.2.0-rc.1", "0.1.0", false},
      {"0.2.0-rc.1", "0.2.0-beta.3", true},
      {"0.2.0", "0.2.0-rc.1", true},
      {"0.2.0-rc.1", "0.2.0-rc.1", false},
      {"0.2.0-rc.1", "0.2.0-rc.2", false},
  };
  for (const auto& [candidate, running, offered] : cases) {
    EXPECT_EQ(UpdateCheck::isOffered(version(candidate), version(running)), offered) << candidate << " to " << running;
  }
}

TEST(UpdateCheck, TheNoticeStaysWhileTheVersionIsNewerButNotifiesOncePerVersion) {
  UpdateCheckState state;
  state.enabled = true;
  state.latest = release("0.2.0");
  const auto first = UpdateCheck::notice(state, version("0.1.0"));
  ASSERT_TRUE(first.has_value());
  EXPECT_EQ(first->title, "Tidewarden 0.2.0 is available");
  EXPECT_EQ(first->version, "0.2.0");
  EXPECT_EQ(first->notesUrl, "https://a.example/notes/0.2.0");
  EXPECT_EQ(first->downloadUrl, "https://a.example/get/0.2.0");
  EXPECT_TRUE(first->notify);
  EXPECT_EQ(state.announcedVersion, "0.2.0");

  const auto again = UpdateCheck::notice(state, version("0.1.0"));
  ASSERT_TRUE(again.has_value());
  EXPECT_FALSE(again->notify);

  state.latest = release("0.3.0");
  EXPECT_TRUE(UpdateCheck::notice(state, version("0.1.0"))->notify);
  EXPECT_FALSE(UpdateCheck::notice(state, version("0.3.0")).has_value()) << "already running it";
  state.enabled = false;
  EXPECT_FALSE(UpdateCheck::notice(state, version("0.1.0")).has_value()) << "turned off";
}

TEST(UpdateCheck, AskingNothingWhenOffOrNotDueKeepsTheStateAsItWas) {
  UpdateCheckState off;
  off.feedUrl = "https://127.0.0.1:9/feed.json";
  const auto outcome = UpdateCheck::run(off, monday, version("0.1.0"), {});
  EXPECT_FALSE(outcome.askedFeed);
  EXPECT_FALSE(outcome.notice.has_value());
  EXPECT_FALSE(outcome.state.lastCheck.has_value());

  UpdateCheckState checkedToday = off;
  checkedToday.enabled = true;
  checkedToday.lastCheck = monday - 1h;
  checkedToday.latest = release("0.2.0");
  const auto today = UpdateCheck::run(checkedToday, monday, version("0.1.0"), {});
  EXPECT_FALSE(today.askedFeed);
  EXPECT_EQ(today.state.lastCheck, monday - 1h);
  ASSERT_TRUE(today.notice.has_value()) << "the window keeps showing what the last check found";
  EXPECT_EQ(today.notice->version, "0.2.0");
}

}  // namespace
}  // namespace tw
