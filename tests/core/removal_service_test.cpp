#include <gtest/gtest.h>
#include <sys/stat.h>

#include <atomic>
#include <chrono>
#include <set>
#include <thread>

#include "core/format.h"
#include "core/history.h"
#include "core/removal_recorder.h"
#include "core/removal_service.h"
#include "support/fake_home.h"
#include "support/permissions.h"

namespace tw::test {
namespace {

using Status = ActionOutcome::Status;

DevItem item(const std::string& name, DevAction action, std::int64_t freeable) {
  DevItem result;
  result.id = result.name = name;
  result.freeable = freeable;
  result.action = std::move(action);
  result.restoreHint = "hint for " + name;
  return result;
}

std::vector<Status> statuses(const RemovalReport& report) {
  std::vector<Status> result;
  for (const auto& outcome : report.outcomes) result.push_back(outcome.status);
  return result;
}

}  // namespace

TEST(RemovalService, EachItemEndsWithATypedOutcomeAndOnlySuccessesAreCountedAndRecorded) {
  FakeHome home;
  home.file("Library/Caches/a/blob", 4096);
  const Context context = home.context();
  const std::vector<DevItem> items{
      item("cache", DevAction::removePaths({home / "Library/Caches/a"}), 3000),
      item("library", DevAction::removePaths({home / "Library"}), 10),
      item("gone", DevAction::removePaths({home / "Library/Caches/never"}), 20),
      item("tool", DevAction::commands({{"/bin/sh", "-c", "echo 'tool broke' >&2; exit 3"}}), 40),
  };
  std::vector<RemovalItem> removals;
  for (const auto& each : items) removals.push_back(RemovalItem::of(each));
  std::atomic<std::size_t> finished{0};
  RemovalOptions options;
  options.category = "Developer";
  options.finished = &finished;

  const RemovalReport report = runRemovals(context, removals, options);

  EXPECT_EQ(statuses(report), (std::vector<Status>{Status::done, Status::failed, Status::done, Status::failed}));
  EXPECT_EQ(report.outcomes[1].reason, "Refused to delete " + home / "Library");
  EXPECT_EQ(report.outcomes[3].reason, "tool broke");
  EXPECT_EQ(report.freed, 3020);
  EXPECT_EQ(finished.load(), 4u);
  EXPECT_EQ(report.summary(removals), "Freed " + byteFormatter(3020) + ". 2 failed: library: Refused to delete " +
                                          home / "Library" + " · tool: tool broke");
  const auto history = context.history->entries();
  ASSERT_EQ(history.size(), 2u);
  EXPECT_EQ(history[0].name, "cache");
  EXPECT_EQ(history[0].bytes, 3000);
  EXPECT_EQ(history[0].restore, "hint for cache");
  EXPECT_EQ(history[1].name, "gone") << "already gone counts as removed";

  // An extra action run instead of the item's own is neither counted nor recorded.
  const RemovalReport overridden =
      runRemovals(context, {RemovalItem::of(items[0], DevAction::custom([] { return std::nullopt; }))}, {});
  EXPECT_EQ(overridden.freed, 0);
  EXPECT_EQ(context.history->entries().size(), 2u);
}

// Items that only count: each records the history's size when it starts.
std::vector<RemovalItem> countingItems(std::size_t count, std::vector<std::size_t>& seen,
                                       std::chrono::milliseconds pause = {}) {
  seen.assign(count, 0);
  std::vector<RemovalItem> removals;
  for (std::size_t index = 0; index < count; ++index) {
    removals.push_back(RemovalItem::deletion("item " + std::to_string(index), [&seen, index, pause](const Context& c) {
      seen[index] = c.history->entries().size();
      std::this_thread::sleep_for(pause);
      return ActionOutcome::success(1);
    }));
  }
  return removals;
}

std::vector<std::string> names(const std::vector<HistoryEntry>& entries) {
  std::vector<std::string> result;
  for (const auto& entry : entries) result.push_back(entry.name);
  return result;
}

TEST(RemovalService, ALongRunIsRecordedABatchAtATimeInTheItemsOrder) {
  FakeHome home;
  const Context context = home.context();
  RemovalOptions options;
  options.category = "Developer";
  std::vector<std::size_t> seen;
  const auto removals = countingItems(700, seen);

  // One at a time: what the log holds as each item starts shows when batches were written.
  // Every finished item but at most one batch is in the log, and it was written a few
  // times, not once per item (a slow run also writes once a second).
  options.oneAtATime = true;
  const auto started = std::chrono::steady_clock::now();
  const RemovalReport report = runRemovals(context, removals, options);
  const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(std::chrono::steady_clock::now() - started);
  EXPECT_EQ(report.count(Status::done), 700u);
  for (std::size_t index = 0; index < seen.size(); ++index) {
    ASSERT_LE(seen[index], index);
    ASSERT_LT(index - seen[index], RemovalRecorder::batchSize) << "item " << index;
  }
  const std::set<std::size_t> writes(seen.begin() + 1, seen.end());
  EXPECT_LE(writes.size(), 700 / RemovalRecorder::batchSize + 1 + static_cast<std::size_t>(seconds.count()));
  std::vector<std::string> expected;
  for (const auto& removal : removals) expected.push_back(removal.name);
  EXPECT_EQ(names(context.history->entries()), expected);

  // Side by side, items finish in any order, yet the log keeps the items' order.
  home.context().history->clear();
  options.oneAtATime = false;
  EXPECT_EQ(runRemovals(context, removals, options).count(Status::done), 700u);
  EXPECT_EQ(names(context.history->entries()), expected);
}

TEST(RemovalService, ASlowRunIsRecordedAtLeastEverySecond) {
  FakeHome home;
  const Context context = home.context();
  RemovalOptions options;
  options.category = "Developer";
  options.oneAtATime = true;
  std::vector<std::size_t> seen;
  const auto removals = countingItems(2, seen, RemovalRecorder::batchInterval + std::chrono::milliseconds(50));
  (void)runRemovals(context, removals, options);
  EXPECT_EQ(seen, (std::vector<std::size_t>{0, 1})) << "an item slower than the interval is written when it ends";
  EXPECT_EQ(context.history->entries().size(), 2u);
}

TEST(RemovalService, AStoppedRunCancelsWhatHasNotStartedAndRecordsNothingForIt) {
  FakeHome home;
  std::vector<RemovalItem> removals;
  for (int i = 0; i < 6; ++i) {
    const std::string path = home.file("Library/Caches/c" + std::to_string(i) + "/data", 100);
    removals.push_back(RemovalItem::of(item("c" + std::to_string(i), DevAction::removePaths({path}), 100)));
  }
  std::stop_source stop;
  stop.request_stop();
  RemovalOptions options;
  options.category = "Developer";
  const RemovalReport report = runRemovals(home.context().withStop(stop.get_token()), removals, options);
  EXPECT_EQ(report.count(Status::cancelled), 6u);
  EXPECT_EQ(report.freed, 0);
  EXPECT_EQ(report.summary(removals).substr(0, 17), "Done. 6 failed: c");
  EXPECT_TRUE(exists(home / "Library/Caches/c0/data"));
  EXPECT_TRUE(home.context().history->entries().empty());
}

TEST(RemovalService, ADeletionRefusedForLackOfRightsNeedsAnAdministrator) {
  FakeHome home;
  const std::string stuck = home.file("Library/Caches/stuck/locked/data", 100);
  ASSERT_EQ(::chmod((home / "Library/Caches/stuck/locked").c_str(), 0555), 0);
  const Context context = home.context();
  const auto status = withFilePermissionsEnforced([&] {
    const auto report = runRemovals(
        context, {RemovalItem::of(item("stuck", DevAction::removePaths({home / "Library/Caches/stuck"}), 1))});
    return std::to_string(static_cast<int>(report.outcomes[0].status)) + " " + report.outcomes[0].reason;
  });
  ::chmod((home / "Library/Caches/stuck/locked").c_str(), 0755);
  if (!status) GTEST_SKIP() << "cannot make a folder read-only for root here";
  EXPECT_EQ(*status,
            std::to_string(static_cast<int>(Status::needsAdministrator)) + " Couldn't delete stuck: Permission denied");
  EXPECT_TRUE(exists(stuck));
}

}  // namespace tw::test
