#include <gtest/gtest.h>
#include <sys/stat.h>

#include <atomic>

#include "core/format.h"
#include "core/history.h"
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

TEST(RemovalService, EachItemEndsWithATypedOutcomeAndOnlySuccessesAreCountedAndRecordedInOneBatch) {
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
