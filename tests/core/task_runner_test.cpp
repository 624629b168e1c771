#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <latch>
#include <thread>

#include "core/dev_pane.h"
#include "core/task_runner.h"
#include "support/fake_home.h"

namespace tw::test {
namespace {

using namespace std::chrono_literals;

DevGroupPtr groupOf(const std::string& id, const std::vector<std::string>& itemIds,
                    const std::set<std::string>& ticked) {
  auto group = std::make_shared<DevGroup>(id, id, "", "folder");
  std::vector<DevItem> items;
  for (const auto& itemId : itemIds) {
    DevItem item;
    item.id = itemId;
    item.name = itemId;
    item.freeable = 10;
    item.selected = ticked.contains(itemId);
    items.push_back(std::move(item));
  }
  group->setItems(std::move(items));
  return group;
}

}  // namespace

TEST(TaskRunner, ResultsRunOnTheOwnersThreadAndNotAtAllOnceTheRunnerIsGone) {
  QueueDispatcher queue;
  const auto owner = std::this_thread::get_id();
  std::vector<std::thread::id> ranOn;
  std::latch release{1};
  std::atomic<bool> sawStop{false};
  {
    TaskRunner runner(queue.dispatcher());
    runner.start(
        [&](std::stop_token) -> TaskRunner::Result { return [&] { ranOn.push_back(std::this_thread::get_id()); }; });
    ASSERT_TRUE(queue.runUntil([&] { return !ranOn.empty(); }, 10s));
    EXPECT_TRUE(runner.idle());

    // A job still running when its owner goes is asked to stop and joined; what it hands
    // back afterwards finds no owner and does nothing.
    runner.start([&](std::stop_token stop) -> TaskRunner::Result {
      while (!stop.stop_requested()) std::this_thread::sleep_for(1ms);
      sawStop = true;
      return [&] { ranOn.push_back(std::this_thread::get_id()); };
    });
    EXPECT_FALSE(runner.idle());
  }
  EXPECT_TRUE(sawStop) << "the runner's end stopped and joined the job";
  queue.drain();
  EXPECT_EQ(ranOn, std::vector<std::thread::id>{owner});
}

TEST(DevPaneLifetime, APaneThatGoesAwayWhileItsProviderRunsStopsItAndNeverAppliesIt) {
  QueueDispatcher queue;
  std::atomic<bool> started{false};
  std::atomic<bool> stopped{false};
  bool applied = false;
  {
    auto pane = DevPane::make(
        [&](const Context& context) {
          started = true;
          // A provider checks its stop token between folders.
          while (!context.stopRequested()) std::this_thread::sleep_for(1ms);
          stopped = true;
          return ProviderResult{{groupOf("g", {"a"}, {})}, std::nullopt};
        },
        std::nullopt, queue.dispatcher(), Context{});
    pane->load([&] { applied = true; });
    while (!started) std::this_thread::sleep_for(1ms);
  }
  EXPECT_TRUE(stopped);
  queue.drain();
  EXPECT_FALSE(applied) << "nothing arrives for a pane that is gone";
}

TEST(DevPaneLifetime, CancellingALoadKeepsWhatWasShownAndStillRunsTheCallbacks) {
  QueueDispatcher queue;
  std::atomic<int> calls{0};
  auto pane = DevPane::make(
      [&](const Context& context) {
        if (++calls == 2) {
          while (!context.stopRequested()) std::this_thread::sleep_for(1ms);
        }
        return ProviderResult{{groupOf("g" + std::to_string(calls.load()), {"a"}, {})}, std::nullopt};
      },
      std::nullopt, queue.dispatcher(), Context{});
  bool first = false;
  pane->load([&] { first = true; });
  ASSERT_TRUE(queue.runUntil([&] { return first; }, 10s));
  bool second = false;
  pane->load([&] { second = true; });
  pane->cancel();
  ASSERT_TRUE(queue.runUntil([&] { return second; }, 10s));
  EXPECT_FALSE(pane->loading());
  ASSERT_EQ(pane->groups().size(), 1u);
  EXPECT_EQ(pane->groups()[0]->id, "g1") << "a stopped load's half result is not shown";
}

TEST(DevPaneSelection, StartsWithThePreselectionAndAnnouncesEachTickForItsRow) {
  QueueDispatcher queue;
  auto pane = DevPane::make(
      [](const Context&) {
        return ProviderResult{{groupOf("one", {"a", "b"}, {"b"}), groupOf("two", {"c", "d", "e"}, {"c", "e"})},
                              std::nullopt};
      },
      std::nullopt, queue.dispatcher(), Context{});
  bool loaded = false;
  pane->load([&] { loaded = true; });
  ASSERT_TRUE(queue.runUntil([&] { return loaded; }, 10s));
  EXPECT_EQ(pane->selection().ids(), (std::set<std::string>{"b", "c", "e"}));

  std::vector<std::vector<std::size_t>> rowsOfTwo;
  pane->groups()[1]->observe([&](const DevGroup::Notice& change) {
    if (change.field == DevGroupField::selection) rowsOfTwo.push_back(change.rows);
  });
  int paneNotices = 0;
  pane->observe([&](const DevPane::Notice& change) { paneNotices += change.field == DevPaneField::selection; });

  pane->setSelected("d", true);
  pane->setSelected("d", true);        // no change, no notice
  pane->setSelected("unknown", true);  // not an item of this pane
  pane->setSelected("c", false);
  EXPECT_EQ(rowsOfTwo, (std::vector<std::vector<std::size_t>>{{1}, {0}}));
  EXPECT_EQ(paneNotices, 2);
  std::vector<std::string> selected;
  for (const auto& item : pane->selectedItems()) selected.push_back(item.id);
  EXPECT_EQ(selected, (std::vector<std::string>{"b", "d", "e"}));
  EXPECT_EQ(pane->selectedTotal(), 30);

  pane->setSelection({"a", "e", "unknown"});
  EXPECT_EQ(pane->selection().ids(), (std::set<std::string>{"a", "e"}));
  EXPECT_EQ(rowsOfTwo.back(), (std::vector<std::size_t>{1})) << "d was unticked; e stayed";
}

}  // namespace tw::test
