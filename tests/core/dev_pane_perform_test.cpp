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

DevItem removable(const std::string& name, const std::string& path, std::optional<std::int64_t> freeable,
                  std::optional<std::string> restore = std::nullopt) {
  DevItem item;
  item.id = path;
  item.name = name;
  item.freeable = freeable;
  item.action = DevAction::removePaths({path});
  item.restoreHint = std::move(restore);
  return item;
}

DevItem custom(const std::string& name, std::function<std::optional<std::string>()> run) {
  DevItem item;
  item.id = item.name = name;
  item.freeable = 1000;
  item.action = DevAction::custom(std::move(run));
  return item;
}

DevAction failing(const std::string& message) {
  return DevAction::custom([message] { return std::optional<std::string>(message); });
}

std::vector<std::string> recordedNames(const FakeHome& home) {
  std::vector<std::string> names;
  for (const auto& entry : home.context().history->entries()) names.push_back(entry.name);
  return names;
}

// A pane over a provider that counts its calls, driven through a queue the test drains.
struct PaneHarness {
  FakeHome home;
  QueueDispatcher queue;
  std::atomic<int> loads{0};
  std::shared_ptr<DevPane> pane = DevPane::make(
      [this](const Context&) {
        ++loads;
        return ProviderResult{};
      },
      std::nullopt, queue.dispatcher(), home.context());
  std::vector<int> progress;
  int token = pane->observe([this](const DevPane::Notice& change) {
    if (change.field == DevPaneField::progress) progress.push_back(pane->progress());
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
  PaneHarness harness;
  const auto& home = harness.home;
  TempFolder outside;
  harness.home.file("Library/Caches/app/cache.db", 4096);
  harness.home.folder("code/repo/.git");
  makeFolders(outside / "a/b");

  const int loads = harness.perform({
      removable("App cache", home / "Library/Caches/app", 2'500'000, "Rebuilt by the app"),
      removable("Whole Library", home / "Library", 10),
      removable("Outside", outside / "a/b", 20),
      removable("Repository", home / "code/repo", 30),
      removable("Fourth failure", outside / "a", 40),
  });

  EXPECT_EQ(harness.pane->message(), "Freed " + byteFormatter(2'500'000) +
                                         ". 4 failed: Whole Library: Refused to delete " + home / "Library" +
                                         " · Outside: Refused to delete " + outside / "a/b" +
                                         " · Repository: Refused to delete " + home / "code/repo");
  EXPECT_FALSE(exists(home / "Library/Caches/app"));
  EXPECT_TRUE(exists(outside / "a/b"));
  EXPECT_FALSE(harness.pane->busy());
  EXPECT_EQ(harness.pane->progress(), 5);
  EXPECT_EQ(harness.pane->done(), 5);
  EXPECT_EQ(harness.progress.back(), 5);
  EXPECT_TRUE(std::is_sorted(harness.progress.begin(), harness.progress.end())) << "progress never goes back";
  EXPECT_EQ(loads, 1) << "the pane reloads before the completion runs";

  const auto history = harness.home.context().history->entries();
  ASSERT_EQ(history.size(), 1u);
  EXPECT_EQ(history[0].category, "Developer");
  EXPECT_EQ(history[0].name, "App cache");
  EXPECT_EQ(history[0].bytes, 2'500'000);
  EXPECT_EQ(history[0].restore, "Rebuilt by the app");
}

TEST(DevPanePerform, AlreadyGonePathCountsAsFreedAndUnknownSizeSaysDone) {
  PaneHarness harness;
  harness.perform({removable("Old build", harness.home / "Projects/app/build", 1500)});
  EXPECT_EQ(harness.pane->message(), "Freed " + byteFormatter(1500) + ".");

  harness.home.file("Library/Caches/empty/x", 0);
  harness.perform({removable("Unknown", harness.home / "Library/Caches/empty", std::nullopt)});
  EXPECT_EQ(harness.pane->message(), "Done.");
  const auto history = harness.home.context().history->entries();
  ASSERT_EQ(history.size(), 2u);
  EXPECT_EQ(history[0].bytes, 1500);
  EXPECT_EQ(history[0].restore, std::nullopt);
  EXPECT_EQ(history[1].bytes, 0);
}

TEST(DevPanePerform, OverrideActionRunsPerItemAndIsNeitherCountedNorRecorded) {
  PaneHarness harness;
  harness.home.file("Library/Caches/app/cache.db", 100);
  const std::vector<DevItem> items{removable("A", harness.home / "Library/Caches/app", 5'000'000),
                                   removable("B", harness.home / "x/y", 7)};
  std::atomic<int> calls{0};
  harness.perform(items, DevAction::custom([&]() -> std::optional<std::string> {
                    ++calls;
                    return std::nullopt;
                  }));
  EXPECT_EQ(calls.load(), 2);
  EXPECT_TRUE(exists(harness.home / "Library/Caches/app")) << "the override ran instead of the item's action";
  EXPECT_EQ(harness.pane->message(), "Done.");

  harness.perform(items, failing("Couldn't reveal it"));
  EXPECT_EQ(harness.pane->message(), "Done. 2 failed: A: Couldn't reveal it · B: Couldn't reveal it");
  EXPECT_TRUE(harness.home.context().history->entries().empty());

  // The next run starts without the last message.
  bool completed = false;
  harness.pane->perform({}, std::nullopt, [&] { completed = true; });
  EXPECT_EQ(harness.pane->message(), std::nullopt);
  EXPECT_EQ(harness.pane->progress(), 0);
  ASSERT_TRUE(harness.queue.runUntil([&] { return completed; }, 60s));
  EXPECT_EQ(harness.pane->message(), "Done.");
}

TEST(DevPanePerform, ActionsOtherThanDeletionRunOneAtATimeInOrder) {
  PaneHarness harness;
  std::atomic<int> running{0};
  std::atomic<int> mostAtOnce{0};
  std::mutex orderLock;
  std::vector<std::string> order;
  std::vector<DevItem> items;
  for (const std::string name : {"one", "two", "three", "four"}) {
    items.push_back(custom(name, [&, name]() -> std::optional<std::string> {
      mostAtOnce = std::max(mostAtOnce.load(), ++running);
      std::this_thread::sleep_for(20ms);
      std::lock_guard lock(orderLock);
      order.push_back(name);
      --running;
      return std::nullopt;
    }));
  }
  // One plain deletion among them does not make the batch concurrent.
  items.push_back(removable("five", harness.home / "gone/already", 1));
  harness.perform(items);
  EXPECT_EQ(mostAtOnce.load(), 1);
  EXPECT_EQ(order, (std::vector<std::string>{"one", "two", "three", "four"}));
  EXPECT_EQ(harness.pane->message(), "Freed " + byteFormatter(4001) + ".");
  EXPECT_EQ(recordedNames(harness.home), (std::vector<std::string>{"one", "two", "three", "four", "five"}));
}

TEST(DevPanePerform, ManyDeletionsRunTogetherAndAllAreRecorded) {
  PaneHarness harness;
  std::vector<DevItem> items;
  std::vector<std::string> names;
  for (int i = 0; i < 40; ++i) {
    const std::string path = harness.home / ("Library/Caches/c" + std::to_string(i));
    writeFilledFile(path + "/data/blob", 1000);
    names.push_back("cache " + std::to_string(i));
    items.push_back(removable(names.back(), path, 1000));
  }
  harness.perform(items);
  EXPECT_EQ(harness.pane->message(), "Freed " + byteFormatter(40'000) + ".");
  EXPECT_EQ(harness.pane->progress(), 40);
  EXPECT_EQ(harness.progress, (std::vector<int>{0, 40})) << "progress is polled, announced only at start and end";
  EXPECT_EQ(recordedNames(harness.home), names) << "records are neither lost to each other nor out of order";
  for (const auto& item : items) EXPECT_FALSE(exists(item.id)) << item.id;
}

}  // namespace tw::test
