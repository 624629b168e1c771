#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <mutex>

#include "automation/automation_platform.h"
#include "automation/background.h"
#include "automation/prefs.h"
#include "automation/rules.h"
#include "core/history.h"
#include "core/settings.h"
#include "manual_timers.h"
#include "session_bus.h"
#include "support/fake_home.h"

namespace tw {
namespace {

using namespace std::chrono_literals;
using Days = std::chrono::duration<std::int64_t, std::ratio<86'400>>;

struct Sent {
  std::string title;
  std::string body;
  friend bool operator==(const Sent&, const Sent&) = default;
};

// A runner on a fake home with a manual clock, a free-space figure the test sets and
// notifications collected instead of shown.
class BackgroundTest : public ::testing::Test {
 protected:
  test::FakeHome home;
  Context context = home.context();
  QueueDispatcher queue;
  std::shared_ptr<test::ManualTimers> timers = std::make_shared<test::ManualTimers>(dateFromSeconds(1'790'000'000));
  std::optional<std::int64_t> freeBytes = 500'000'000'000;
  std::mutex sentMutex;
  std::vector<Sent> sent;

  Background::Services services() {
    Background::Services services;
    services.timers = timers;
    services.freeSpace = [this] { return freeBytes; };
    services.notify = [this](const std::string& title, const std::string& body) {
      std::lock_guard lock(sentMutex);
      sent.push_back({title, body});
    };
    return services;
  }

  std::unique_ptr<Background> runner() { return std::make_unique<Background>(context, services(), queue.dispatcher()); }

  // Moves the clock on, letting every rule run and notification finish after each tick.
  void advance(std::chrono::milliseconds span, Background& background) {
    timers->advance(span, [&] { settle(background); });
  }

  // Runs what the runner hands back until it has nothing under way.
  void settle(Background& background) {
    const auto deadline = std::chrono::steady_clock::now() + 60s;
    while (!(background.idle() && !background.running())) {
      (void)queue.runUntil([] { return false; }, 1ms);
      ASSERT_LT(std::chrono::steady_clock::now(), deadline) << "the runner did not settle";
    }
  }

  std::vector<Sent> sentTitled(const std::string& title) {
    std::lock_guard lock(sentMutex);
    std::vector<Sent> matching;
    for (const auto& one : sent) {
      if (one.title == title) matching.push_back(one);
    }
    return matching;
  }
};

TEST_F(BackgroundTest, TicksEveryFifteenMinutesAndOnceThirtySecondsAfterStart) {
  auto background = runner();
  context.settings->set(Prefs::ruleDerivedData, true);  // a rule that finds nothing on this machine
  context.settings->set(Prefs::ruleIntervalDays, 1);
  background->start();
  EXPECT_EQ(timers->scheduled(), 2u);
  advance(29s, *background);
  EXPECT_TRUE(sentTitled(Background::autoCleanTitle).empty());
  advance(1s, *background);
  EXPECT_EQ(sentTitled(Background::autoCleanTitle).size(), 1u);  // the first tick found the rules due
  EXPECT_EQ(timers->scheduled(), 1u);                            // and the one-off timer is spent
  // A day later the rules are due again: the first fifteen-minute tick after it runs them.
  const Date firstRun = *context.settings->date(Prefs::lastRuleRun);
  advance(Days(1) + Background::tickInterval, *background);
  EXPECT_EQ(sentTitled(Background::autoCleanTitle).size(), 2u);
  const Date secondRun = *context.settings->date(Prefs::lastRuleRun);
  EXPECT_GE(secondRun - firstRun, Days(1));
  EXPECT_LT(secondRun - firstRun, Days(1) + Background::tickInterval);
  EXPECT_EQ((secondRun - dateFromSeconds(1'790'000'000)) % Background::tickInterval, 0s);
}

TEST_F(BackgroundTest, AWeekOfTicksRunsTheRulesOncePerIntervalAndAZeroIntervalCountsAsOneDay) {
  context.settings->set(Prefs::ruleDerivedData, true);
  auto background = runner();
  background->start();
  const auto started = std::chrono::steady_clock::now();
  advance(Days(8), *background);  // 768 ticks
  const auto took = std::chrono::steady_clock::now() - started;
  // The default interval is seven days: once at the first tick, again a week later.
  EXPECT_EQ(sentTitled(Background::autoCleanTitle).size(), 2u);
  EXPECT_EQ(sentTitled(Background::autoCleanTitle)[0].body, "Auto-clean found nothing to remove.");
  EXPECT_LT(took, 30s) << "a simulated week must not take real time";

  context.settings->set(Prefs::ruleIntervalDays, 0);
  {
    std::lock_guard lock(sentMutex);
    sent.clear();
  }
  advance(Days(3), *background);
  EXPECT_EQ(sentTitled(Background::autoCleanTitle).size(), 3u);  // daily, as with 1

  context.settings->set(Prefs::ruleIntervalDays, -4);
  {
    std::lock_guard lock(sentMutex);
    sent.clear();
  }
  advance(Days(2), *background);
  EXPECT_EQ(sentTitled(Background::autoCleanTitle).size(), 2u);
}

TEST_F(BackgroundTest, WithAllRulesOffNoRuleRunsButTheLowSpaceCheckStillDoes) {
  freeBytes = 19'900'000'000;
  auto background = runner();
  background->start();
  advance(Days(7), *background);
  EXPECT_TRUE(sentTitled(Background::autoCleanTitle).empty());
  EXPECT_FALSE(context.settings->value(Prefs::lastRuleRun).has_value());
  EXPECT_FALSE(sentTitled(lowSpaceTitle()).empty());
}

TEST_F(BackgroundTest, NineteenPointNineGigabytesFreeWarnsOnceAndNotAgainForSixHours) {
  freeBytes = 19'900'000'000;
  auto background = runner();
  background->start();
  advance(30s, *background);
  ASSERT_EQ(sentTitled(lowSpaceTitle()).size(), 1u);
  EXPECT_EQ(sentTitled(lowSpaceTitle())[0].body, "Only 19.9 GB left. Open Tidewarden to see what can go.");
  EXPECT_EQ(context.settings->date(Prefs::lastLowSpaceAlert), timers->now());

  advance(6h, *background);  // the ticks of the next six hours stay quiet
  EXPECT_EQ(sentTitled(lowSpaceTitle()).size(), 1u);
  advance(15min, *background);  // the first tick more than six hours later warns again
  EXPECT_EQ(sentTitled(lowSpaceTitle()).size(), 2u);
}

TEST_F(BackgroundTest, NoWarningAtTheThresholdWhenSwitchedOffOrWhenFreeSpaceIsUnknown) {
  auto background = runner();
  background->start();
  freeBytes = 20'000'000'000;  // not below the default 20 GB
  advance(1h, *background);
  freeBytes = std::nullopt;
  advance(1h, *background);
  freeBytes = 1'000'000;
  context.settings->set(Prefs::lowSpaceAlert, false);
  advance(1h, *background);
  EXPECT_TRUE(sentTitled(lowSpaceTitle()).empty());

  context.settings->set(Prefs::lowSpaceAlert, true);
  context.settings->set(Prefs::lowSpaceGB, 0);
  advance(1h, *background);
  EXPECT_TRUE(sentTitled(lowSpaceTitle()).empty());
}

TEST_F(BackgroundTest, StartingAgainReplacesTheScheduleAndAReleasedRunnerStopsTicking) {
  freeBytes = 1'000'000;
  auto background = runner();
  background->start();
  background->start();
  EXPECT_EQ(timers->scheduled(), 2u);
  advance(30s, *background);
  EXPECT_EQ(sentTitled(lowSpaceTitle()).size(), 1u);  // one first tick, not two

  background.reset();
  EXPECT_EQ(timers->scheduled(), 0u);
  context.settings->remove(Prefs::lastLowSpaceAlert);
  timers->advance(Days(1));
  EXPECT_EQ(sentTitled(lowSpaceTitle()).size(), 1u);
}

TEST_F(BackgroundTest, RunRulesRemovesWhatTheRulesFindRecordsItUnderTheRuleLabelAndSummarises) {
  const auto pip = home.file(".cache/pip/wheels/a.whl", 300'000);
  context.settings->set(Prefs::ruleSmartClean, true);
  auto background = runner();

  std::optional<std::string> summary;
  background->runRules(/*notify=*/false, [&](const std::string& text) { summary = text; });
  background->runRules(/*notify=*/false, [&](const std::string& text) { EXPECT_EQ(text, summary); });
  ASSERT_TRUE(queue.runUntil([&] { return summary.has_value(); }, 60s));
  EXPECT_FALSE(test::exists(pip));
  ASSERT_TRUE(summary->starts_with("Auto-clean freed ")) << *summary;
  EXPECT_TRUE(summary->ends_with(" items).")) << *summary;
  EXPECT_TRUE(sent.empty());
  EXPECT_EQ(context.settings->date(Prefs::lastRuleRun), timers->now());

  const auto entries = context.history->entries();
  ASSERT_FALSE(entries.empty());
  for (const auto& entry : entries) EXPECT_EQ(entry.category, "Auto-clean \u00b7 Smart Clean");

  summary.reset();
  background->runRules(/*notify=*/true, [&](const std::string& text) { summary = text; });
  settle(*background);
  ASSERT_TRUE(summary.has_value());
  EXPECT_EQ(*summary, "Auto-clean found nothing to remove.");
  EXPECT_EQ(sentTitled("Tidewarden auto-clean"), (std::vector<Sent>{{"Tidewarden auto-clean", *summary}}));
}

TEST(BackgroundTexts, SummaryAndLowSpaceBodyAreWordForWord) {
  EXPECT_EQ(Background::summary(0, 0), "Auto-clean found nothing to remove.");
  EXPECT_EQ(Background::summary(1'500'000'000, 3), "Auto-clean freed 1.5 GB (3 items).");
  EXPECT_EQ(Background::summary(0, 2), "Auto-clean freed 0 bytes (2 items).");
  EXPECT_EQ(Background::lowSpaceBody(19'900'000'000), "Only 19.9 GB left. Open Tidewarden to see what can go.");
  EXPECT_EQ(lowSpaceTitle(), "Your computer is low on space");
}

// The runner with the real notification path, on a private session bus with a small
// notification server: what a user's desktop would show.
TEST_F(BackgroundTest, ADesktopNotificationServerReceivesTheLowSpaceAndAutoCleanNotifications) {
  test::SessionBus bus;
  if (!bus.started()) GTEST_SKIP() << bus.problem();
  test::NotificationServer server(bus.address());
  ASSERT_TRUE(server.ready());
  context.env["DBUS_SESSION_BUS_ADDRESS"] = bus.address();
  context.settings->set(Prefs::ruleDerivedData, true);
  freeBytes = 19'900'000'000;

  auto system = Background::Services::system(context, timers);
  system.freeSpace = [this] { return freeBytes; };
  Background background(context, system, queue.dispatcher());
  background.start();
  advance(30s, background);

  const auto received = server.waitFor(2);
  ASSERT_EQ(received.size(), 2u);
  std::vector<Sent> shown;
  for (const auto& one : received) shown.push_back({one.title, one.body});
  std::sort(shown.begin(), shown.end(), [](const Sent& a, const Sent& b) { return a.title < b.title; });
  EXPECT_EQ(shown, (std::vector<Sent>{
                       {"Tidewarden auto-clean", "Auto-clean found nothing to remove."},
                       {"Your computer is low on space", "Only 19.9 GB left. Open Tidewarden to see what can go."}}));
}

}  // namespace
}  // namespace tw
