#include <gtest/gtest.h>

#include <atomic>
#include <latch>
#include <thread>

#include "core/dev_pane.h"

namespace tw {
namespace {

using namespace std::chrono_literals;

DevItem item(std::string name, std::optional<std::int64_t> size, std::optional<std::int64_t> freeable,
             bool selected = false) {
  DevItem result;
  result.id = "/x/" + name;
  result.name = std::move(name);
  result.size = size;
  result.freeable = freeable;
  result.selected = selected;
  result.action = DevAction::removePaths({result.id});
  return result;
}

DevGroupPtr group(std::string id, std::vector<DevItem> items, std::optional<Date> lastActive = std::nullopt) {
  auto result = std::make_shared<DevGroup>(id, id, "", "folder");
  result->setItems(std::move(items));
  result->lastActive = lastActive;
  return result;
}

TEST(DevGroup, SettersNotifyOnlyWhenTheValueReallyChanges) {
  DevGroup observed("g", "G", "", "folder");
  const std::vector<Badge> stale{{"stale", Badge::Tone::warn}, {"large", Badge::Tone::info}};
  auto retoned = stale;
  retoned[1].tone = Badge::Tone::danger;
  using Field = DevGroupField;
  const std::vector<std::pair<std::function<void()>, std::vector<Field>>> steps{
      {[&] { observed.setBadges(stale); }, {Field::badges}},
      {[&] { observed.setBadges(stale); }, {}},  // equal text and tone
      {[&] { observed.setBadges(retoned); }, {Field::badges}},
      {[&] {
         observed.setBadges({{"old", Badge::Tone::warn}, retoned[1]});
       },
       {Field::badges}},
      {[&] { observed.setBadges({}); }, {Field::badges}},
      {[&] { observed.setNote(std::nullopt); }, {}},
      {[&] { observed.setNote(""); }, {Field::note}},  // presence alone is a change
      {[&] { observed.setNote(""); }, {}},
      {[&] { observed.setNote("other"); }, {Field::note}},
      {[&] { observed.setItems({}); }, {Field::items}},  // items notify on every assignment
      {[&] { observed.setItems({}); }, {Field::items}},
  };
  for (std::size_t step = 0; step < steps.size(); ++step) {
    std::vector<Field> seen;
    const int token = observed.observe([&](const DevGroup::Notice& change) { seen.push_back(change.field); });
    steps[step].first();
    observed.unobserve(token);
    EXPECT_EQ(seen, steps[step].second) << "step " << step;
  }
}

class PaneTest : public ::testing::Test {
 protected:
  QueueDispatcher queue;

  std::shared_ptr<DevPane> paneWith(std::vector<DevGroupPtr> groups) {
    auto pane = DevPane::make(
        [groups](const Context&) {
          return ProviderResult{groups, std::nullopt};
        },
        "projects", queue.dispatcher(), Context{});
    loadAndWait(*pane);
    return pane;
  }

  void loadAndWait(DevPane& pane) {
    bool finished = false;
    pane.load([&] { finished = true; });
    ASSERT_TRUE(queue.runUntil([&] { return finished; }, 5s));
  }
};

TEST_F(PaneTest, StaleFilterHidesGroupsActiveExactlyThirtyDaysAgoOrUndated) {
  const Date now = std::chrono::system_clock::now();
  const auto thirtyDays = staleAge;
  auto pane = paneWith({
      group("exactly", {item("a", 10, 10, true)}, now - thirtyDays),
      group("older", {item("b", 20, 20, true), item("c", 5, 5)}, now - thirtyDays - 1s),
      group("undated", {item("d", 40, 40, true)}),
      group("recent", {item("e", 80, 80)}, now - 1h),
  });
  ASSERT_EQ(pane->visibleGroups(now).size(), 4u);

  pane->setStaleOnly(true);
  const auto visible = pane->visibleGroups(now);
  ASSERT_EQ(visible.size(), 1u);
  EXPECT_EQ(visible.front()->id, "older");
}

TEST_F(PaneTest, TotalsAndSelectionFollowTheFilter) {
  const Date now = std::chrono::system_clock::now();
  auto pane = paneWith({
      group("old", {item("a", 100, 30, true), item("b", 100, std::nullopt, true), item("c", 9, 9)}, now - 40 * 24h),
      group("new", {item("d", 1000, 1000, true)}, now - 1h),
  });
  EXPECT_EQ(pane->total(), 1039);
  EXPECT_EQ(pane->itemCount(), 4u);
  EXPECT_EQ(pane->selectedTotal(), 1030);

  pane->setStaleOnly(true);
  EXPECT_EQ(pane->total(), 39);
  EXPECT_EQ(pane->itemCount(), 3u);
  const auto selected = pane->selectedItems();
  ASSERT_EQ(selected.size(), 2u);
  EXPECT_EQ(selected[0].name, "a");
  EXPECT_EQ(selected[1].name, "b");
  EXPECT_EQ(pane->selectedTotal(), 30);
}

TEST_F(PaneTest, ThreeLoadsWhileOneRunsCallTheProviderOnceAndEveryCallbackOnceInOrder) {
  std::atomic<int> providerRuns{0};
  std::latch release{1};
  auto pane = DevPane::make(
      [&](const Context&) {
        ++providerRuns;
        release.wait();
        return ProviderResult{{group("g", {item("a", 1, 1)})}, "a note"};
      },
      std::nullopt, queue.dispatcher(), Context{});

  std::vector<int> calls;
  pane->load([&] { calls.push_back(1); });
  pane->load([&] { calls.push_back(2); });
  pane->load([&] { calls.push_back(3); });
  EXPECT_TRUE(pane->loading());
  EXPECT_EQ(pane->waiterCount(), 3u);
  release.count_down();

  ASSERT_TRUE(queue.runUntil([&] { return calls.size() == 3; }, 5s));
  queue.drain();
  EXPECT_EQ(calls, (std::vector<int>{1, 2, 3}));
  EXPECT_EQ(providerRuns.load(), 1);
  EXPECT_FALSE(pane->loading());
  EXPECT_TRUE(pane->loaded());
  EXPECT_EQ(pane->waiterCount(), 0u);
  EXPECT_EQ(pane->note(), "a note");
  ASSERT_EQ(pane->groups().size(), 1u);
}

TEST_F(PaneTest, ResultIsAppliedOnTheOwnersThreadInOneStep) {
  const auto owner = std::this_thread::get_id();
  auto pane = DevPane::make(
      [](const Context&) {
        return ProviderResult{{group("g", {})}, std::nullopt};
      },
      std::nullopt, queue.dispatcher(), Context{});
  std::vector<DevPaneField> changes;
  std::vector<std::thread::id> threads;
  pane->observe([&](const DevPane::Notice& change) {
    changes.push_back(change.field);
    threads.push_back(std::this_thread::get_id());
  });
  loadAndWait(*pane);
  EXPECT_EQ(std::count(changes.begin(), changes.end(), DevPaneField::groups), 1);
  for (const auto& id : threads) EXPECT_EQ(id, owner);

  // A refresh keeps the old groups until the new ones replace them.
  const auto before = pane->groups();
  pane->load();
  EXPECT_EQ(pane->groups(), before);
  ASSERT_TRUE(queue.runUntil([&] { return !pane->loading(); }, 5s));
  EXPECT_NE(pane->groups().front(), before.front());
}

}  // namespace
}  // namespace tw
