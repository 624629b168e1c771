#include <gtest/gtest.h>
#include <unistd.h>

#include <set>
#include <string>
#include <vector>

#include "core/history.h"
#include "junk/junk_cleaner.h"
#include "junk/junk_fake_home.h"
#include "junk/junk_model.h"
#include "junk/junk_scan.h"
#include "support/fake_home.h"

namespace tw::test {
namespace {

struct Scanned {
  JunkCategories categories = JunkModel::makeCategories(macOSJunkTable());
  JunkScanResult result = scanJunk(categories);

  [[nodiscard]] std::vector<const JunkCategory*> only(const std::set<std::string>& ids) const {
    std::vector<const JunkCategory*> chosen;
    for (const auto& category : categories) {
      if (ids.contains(category->id)) chosen.push_back(category.get());
    }
    return chosen;
  }
};

TEST(SmartCleanRemoval, DeletesEveryItemAndRecordsOneHistoryEntryPerCategory) {
  FakeHome home;
  makeMacJunkHome(home);
  const Scanned scanned;
  const auto chosen = scanned.only({"caches", "logs"});
  const std::int64_t cachesBytes = chosen[0]->total(), logsBytes = chosen[1]->total();

  const JunkCleanOutcome outcome = cleanJunk(chosen, scanned.result.identities);

  EXPECT_EQ(outcome.deleted, 5);
  EXPECT_EQ(outcome.freed, cachesBytes + logsBytes);
  EXPECT_TRUE(outcome.failed.empty());
  for (const auto* category : chosen) {
    for (const auto& item : category->items()) EXPECT_FALSE(exists(item.path)) << item.path;
  }
  EXPECT_TRUE(exists(home / "Library/Caches/.DS_Store"));
  EXPECT_TRUE(exists(home / "Library/Logs"));

  const auto entries = History::entries();
  ASSERT_EQ(entries.size(), 2u);
  EXPECT_EQ(entries[0].category, "Smart Clean");
  EXPECT_EQ(entries[0].name, "User Cache Files (3 items)");
  EXPECT_EQ(entries[0].bytes, cachesBytes);
  EXPECT_EQ(entries[0].restore, "Rebuilt automatically by the app that made it");
  EXPECT_EQ(entries[1].name, "Log Files (2 items)");
  EXPECT_EQ(entries[1].bytes, logsBytes);
}

TEST(SmartCleanRemoval, PathsChangedSinceScanningAreLeftAloneAndTheRunGoesOn) {
  FakeHome home;
  const std::string outside = makeTempFolder("tw-outside"), caches = home / "Library/Caches";
  writeFilledFile(outside + "/precious", junkFileSize);
  for (const char* name : {"to-file/data", "to-link/data", "other/data"})
    junkFile(home, "Library/Caches/" + std::string(name));
  junkFile(home, "Library/Logs/gone.log");
  const std::int64_t otherBytes = allocatedBytes(caches + "/other");
  const Scanned scanned;
  removeTree(caches + "/to-file");
  writeFile(caches + "/to-file", "not what was measured");
  removeTree(caches + "/to-link");
  ASSERT_EQ(::symlink(outside.c_str(), (caches + "/to-link").c_str()), 0);
  removeTree(home / "Library/Logs/gone.log");

  const JunkCleanOutcome outcome = cleanJunk(scanned.only({"caches", "logs"}), scanned.result.identities);

  EXPECT_EQ(std::multiset<std::string>(outcome.failed.begin(), outcome.failed.end()),
            (std::multiset<std::string>{caches + "/to-file", caches + "/to-link"}))
      << "a replaced path fails, a vanished one does not";
  EXPECT_EQ(readFile(caches + "/to-file"), "not what was measured");
  EXPECT_TRUE(exists(caches + "/to-link") && exists(outside + "/precious")) << "a link is never followed";
  EXPECT_FALSE(exists(caches + "/other"));
  EXPECT_EQ(outcome.deleted, 1);
  EXPECT_EQ(outcome.freed, otherBytes) << "only what was deleted counts";
  const auto entries = History::entries();
  ASSERT_EQ(entries.size(), 1u) << "a category that deleted nothing records nothing";
  EXPECT_EQ(entries[0].name, "User Cache Files (1 item)");
  EXPECT_EQ(entries[0].bytes, otherBytes);
  removeTree(outside);
}

}  // namespace
}  // namespace tw::test
