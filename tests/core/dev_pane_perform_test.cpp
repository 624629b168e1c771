#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "core/dev_pane.h"
#include "core/format.h"
#include "core/history.h"
#include "support/fake_home.h"

namespace tw::test {
namespace {

using namespace std::chrono_literals;

DevItem removable(const std::string& name, const std::string& path, std::int64_t freeable,
                  std::optional<std::string> restore = std::nullopt) {
  DevItem item;
  item.id = path;
  item.name = name;
  item.freeable = freeable;
  item.action = DevAction::removePaths({path});
  item.restoreHint = std::move(restore);
  return item;
}

DevItem custom(const std::string& name, std::function<std::optional<std::string>()> run, std::int64_t freeable = 1000) {
  DevItem item;
  item.id = name;
  item.name = name;
  item.freeable = freeable;
  item.action = DevAction::custom(std::move(run));
  return item;
}

// A pane over a provider that counts its calls, driven through a queue the test drains.
struct PaneHarness {
  QueueDispatcher queue;
  std::atomic<int> loads{0};
  std::shared_ptr<DevPane> pane = DevPane::make(
      [this] {
        ++loads;
        return ProviderResult{};
      },
      std::nullopt, queue.dispatcher());
  std::vector<int> progress;
  int token = pane->observe([this](std::string_view property) {
    if (property == "progress") progress.push_back(pane->progress());
  });

  // Performs and waits for the completion; returns the loads seen when it was called.
  int perform(std::vector<DevItem> items, std::optional<DevAction> override = std::nullopt) {
    bool completed = false;
    int loadsAtCompletion = -1;
    pane->perform(std::move(items), std::move(override), [&] {
      completed = true;
      loadsAtCompletion = loads;
      EXPECT_FALSE(pane->loading()) << "completion comes after the reload";
    });
    EXPECT_TRUE(pane->busy());
    EXPECT_TRUE(queue.runUntil([&] { return completed; }, 60s)) << "perform never completed";
    return loadsAtCompletion;
  }
};

}  // namespace

TEST(DevPanePerform, BatchWithFourFailuresReportsTheFreedSpaceAndTheFirstThreeFailures) {
  FakeHome home;
  const std::string outside = makeTempFolder("tw-outside");
  home.file("Library/Caches/app/cache.db", 4096);
  home.folder("code/repo/.git");
  makeFolders(outside + "/a/b");
  PaneHarness harness;

  const int loads = harness.perform({
      removable("App cache", home / "Library/Caches/app", 2'500'000, "Rebuilt by the app"),
      removable("Whole Library", home / "Library", 10),
      removable("Outside", outside + "/a/b", 20),
      removable("Repository", home / "code/repo", 30),
      removable("Fourth failure", outside + "/a", 40),
  });

  EXPECT_EQ(harness.pane->message(), "Freed " + byteFormatter(2'500'000) +
                                         ". 4 failed: Whole Library: Refused to delete " + home / "Library" +
                                         " · Outside: Refused to delete " + outside + "/a/b" +
                                         " · Repository: Refused to delete " + home / "code/repo");
  EXPECT_FALSE(exists(home / "Library/Caches/app"));
  EXPECT_TRUE(exists(outside + "/a/b"));
  EXPECT_FALSE(harness.pane->busy());
  EXPECT_EQ(harness.pane->progress(), 5);
  EXPECT_EQ(harness.pane->done(), 5);
  EXPECT_EQ(harness.progress.back(), 5);
  EXPECT_TRUE(std::is_sorted(harness.progress.begin(), harness.progress.end())) << "progress never goes back";
  EXPECT_EQ(loads, 1) << "the pane reloads before the completion runs";

  const auto history = History::entries();
  ASSERT_EQ(history.size(), 1u);
  EXPECT_EQ(history[0].category, "Developer");
  EXPECT_EQ(history[0].name, "App cache");
  EXPECT_EQ(history[0].bytes, 2'500'000);
  EXPECT_EQ(history[0].restore, "Rebuilt by the app");
  removeTree(outside);
}

TEST(DevPanePerform, AlreadyGonePathCountsAsFreedAndRecorded) {
  FakeHome home;
  PaneHarness harness;
  harness.perform({removable("Old build", home / "Projects/app/build", 1500)});
  EXPECT_EQ(harness.pane->message(), "Freed " + byteFormatter(1500) + ".");
  ASSERT_EQ(History::entries().size(), 1u);
  EXPECT_EQ(History::entries()[0].restore, std::nullopt);
}

TEST(DevPanePerform, NothingFreedSaysDone) {
  FakeHome home;
  home.file("Library/Caches/empty/x", 0);
  PaneHarness harness;
  DevItem unknownSize = removable("Unknown", home / "Library/Caches/empty", 0);
  unknownSize.freeable.reset();
  harness.perform({unknownSize});
  EXPECT_EQ(harness.pane->message(), "Done.");
  ASSERT_EQ(History::entries().size(), 1u);
  EXPECT_EQ(History::entries()[0].bytes, 0);
}

TEST(DevPanePerform, OverrideActionIsNeitherCountedNorRecorded) {
  FakeHome home;
  home.file("Library/Caches/app/cache.db", 100);
  PaneHarness harness;
  std::atomic<int> calls{0};
  harness.perform({removable("A", home / "Library/Caches/app", 5'000'000), removable("B", home / "x/y", 7)},
                  DevAction::custom([&]() -> std::optional<std::string> {
                    ++calls;
                    return std::nullopt;
                  }));
  EXPECT_EQ(calls.load(), 2);
  EXPECT_TRUE(exists(home / "Library/Caches/app")) << "the override ran instead of the item's action";
  EXPECT_EQ(harness.pane->message(), "Done.");
  EXPECT_TRUE(History::entries().empty());
}

TEST(DevPanePerform, FailedOverrideIsReportedPerItem) {
  FakeHome home;
  PaneHarness harness;
  harness.perform({removable("A", home / "a/b", 1), removable("B", home / "c/d", 2)},
                  DevAction::custom([] { return std::optional<std::string>("Couldn't reveal it"); }));
  EXPECT_EQ(harness.pane->message(), "Done. 2 failed: A: Couldn't reveal it · B: Couldn't reveal it");
}

TEST(DevPanePerform, ActionsOtherThanDeletionRunOneAtATimeInOrder) {
  FakeHome home;
  PaneHarness harness;
  std::atomic<int> running{0};
  std::atomic<int> mostAtOnce{0};
  std::mutex orderLock;
  std::vector<std::string> order;
  const auto step = [&](const std::string& name) {
    return [&, name]() -> std::optional<std::string> {
      const int now = ++running;
      mostAtOnce = std::max(mostAtOnce.load(), now);
      std::this_thread::sleep_for(20ms);
      {
        std::lock_guard lock(orderLock);
        order.push_back(name);
      }
      --running;
      return std::nullopt;
    };
  };
  std::vector<DevItem> items;
  for (const char* name : {"one", "two", "three", "four"}) items.push_back(custom(name, step(name)));
  // One plain deletion among them does not make the batch concurrent.
  items.push_back(removable("five", home / "gone/already", 1));
  harness.perform(items);
  EXPECT_EQ(mostAtOnce.load(), 1);
  EXPECT_EQ(order, (std::vector<std::string>{"one", "two", "three", "four"}));
  EXPECT_EQ(harness.pane->message(), "Freed " + byteFormatter(4001) + ".");
  const auto history = History::entries();
  ASSERT_EQ(history.size(), 5u);
  EXPECT_EQ(history[0].name, "one");
  EXPECT_EQ(history[4].name, "five");
}

TEST(DevPanePerform, ManyDeletionsRunTogetherAndAllAreRecorded) {
  FakeHome home;
  PaneHarness harness;
  std::vector<DevItem> items;
  for (int i = 0; i < 40; ++i) {
    const std::string path = home / ("Library/Caches/c" + std::to_string(i));
    writeFilledFile(path + "/data/blob", 1000);
    items.push_back(removable("cache " + std::to_string(i), path, 1000));
  }
  harness.perform(items);
  EXPECT_EQ(harness.pane->message(), "Freed " + byteFormatter(40'000) + ".");
  EXPECT_EQ(harness.progress.size(), 40u);
  const auto history = History::entries();
  ASSERT_EQ(history.size(), 40u) << "records are not lost to each other";
  EXPECT_EQ(history[0].name, "cache 0");
  EXPECT_EQ(history[39].name, "cache 39");
  for (int i = 0; i < 40; ++i) EXPECT_FALSE(exists(home / ("Library/Caches/c" + std::to_string(i))));
}

TEST(DevPanePerform, NewRunClearsTheLastMessage) {
  FakeHome home;
  PaneHarness harness;
  harness.perform({custom("x", [] { return std::optional<std::string>("nope"); })});
  EXPECT_EQ(harness.pane->message(), "Done. 1 failed: x: nope");
  bool completed = false;
  harness.pane->perform({}, std::nullopt, [&] { completed = true; });
  EXPECT_EQ(harness.pane->message(), std::nullopt);
  EXPECT_EQ(harness.pane->progress(), 0);
  ASSERT_TRUE(harness.queue.runUntil([&] { return completed; }, 60s));
  EXPECT_EQ(harness.pane->message(), "Done.");
}

}  // namespace tw::test
