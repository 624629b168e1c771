#include <gtest/gtest.h>
#include <unistd.h>

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
  JunkCategories categories;
  JunkScanResult result;

  [[nodiscard]] std::vector<const JunkCategory*> only(const std::set<std::string>& ids) const {
    std::vector<const JunkCategory*> chosen;
    for (const auto& category : categories) {
      if (ids.contains(category->id)) chosen.push_back(category.get());
    }
    return chosen;
  }
};

Scanned scan(const JunkTable& table, const JunkRoots& roots = JunkRoots::current()) {
  Scanned scanned{JunkModel::makeCategories(table, roots), {}};
  scanned.result = scanJunk(scanned.categories);
  return scanned;
}

TEST(SmartCleanRemoval, DeletesEveryItemAndRecordsOneHistoryEntryPerCategory) {
  FakeHome home;
  makeMacJunkHome(home);
  const Scanned scanned = scan(macOSJunkTable());
  const auto chosen = scanned.only({"caches", "logs"});
  std::int64_t cachesBytes = chosen[0]->total();
  std::int64_t logsBytes = chosen[1]->total();

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

TEST(SmartCleanRemoval, AFolderReplacedByAFileAfterScanningIsLeftAlone) {
  FakeHome home;
  junkFile(home, "Library/Caches/swapped/data");
  junkFile(home, "Library/Caches/other/data");
  const Scanned scanned = scan(macOSJunkTable());
  removeTree(home / "Library/Caches/swapped");
  writeFile(home / "Library/Caches/swapped", "not what was measured");

  const JunkCleanOutcome outcome = cleanJunk(scanned.only({"caches"}), scanned.result.identities);

  EXPECT_EQ(outcome.failed, std::vector<std::string>{home / "Library/Caches/swapped"});
  EXPECT_EQ(readFile(home / "Library/Caches/swapped"), "not what was measured");
  EXPECT_FALSE(exists(home / "Library/Caches/other"));
  EXPECT_EQ(outcome.deleted, 1);
}

TEST(SmartCleanRemoval, AFolderSwappedForALinkIsNeverFollowed) {
  FakeHome home;
  const std::string outside = makeTempFolder("tw-outside");
  writeFilledFile(outside + "/precious", junkFileSize);
  junkFile(home, "Library/Logs/swapped/app.log");
  const Scanned scanned = scan(macOSJunkTable());
  removeTree(home / "Library/Logs/swapped");
  ASSERT_EQ(::symlink(outside.c_str(), (home / "Library/Logs/swapped").c_str()), 0);

  const JunkCleanOutcome outcome = cleanJunk(scanned.only({"logs"}), scanned.result.identities);

  EXPECT_EQ(outcome.failed, std::vector<std::string>{home / "Library/Logs/swapped"});
  EXPECT_TRUE(exists(outside + "/precious"));
  removeTree(outside);
}

TEST(SmartCleanRemoval, ALinkFoundAsALinkIsRemovedWithoutItsTarget) {
  FakeHome home;
  const std::string outside = makeTempFolder("tw-outside");
  const std::string target = outside + "/" + std::string(100, 't');
  writeFilledFile(target + "/precious", junkFileSize);
  home.folder("Library/Caches");
  ASSERT_EQ(::symlink(target.c_str(), (home / "Library/Caches/linked").c_str()), 0);
  const Scanned scanned = scan(macOSJunkTable());
  if (scanned.only({"caches"}).front()->items().empty()) GTEST_SKIP() << "this file system gives links no blocks";

  const JunkCleanOutcome outcome = cleanJunk(scanned.only({"caches"}), scanned.result.identities);

  EXPECT_EQ(outcome.deleted, 1);
  EXPECT_FALSE(exists(home / "Library/Caches/linked"));
  EXPECT_TRUE(exists(target + "/precious"));
  removeTree(outside);
}

TEST(SmartCleanRemoval, AVanishedPathIsNeitherCountedNorAFailure) {
  FakeHome home;
  junkFile(home, "Library/Caches/gone/data");
  const Scanned scanned = scan(macOSJunkTable());
  removeTree(home / "Library/Caches/gone");

  const JunkCleanOutcome outcome = cleanJunk(scanned.only({"caches"}), scanned.result.identities);

  EXPECT_EQ(outcome.deleted, 0);
  EXPECT_EQ(outcome.freed, 0);
  EXPECT_TRUE(outcome.failed.empty());
  EXPECT_TRUE(History::entries().empty());
}

TEST(SmartCleanRemoval, ACacheOutsideTheHomeIsRefusedAndTheRunGoesOn) {
  FakeHome home;
  const std::string outside = makeTempFolder("tw-outside-cache");
  writeFilledFile(outside + "/tool/data", junkFileSize);
  junkFile(home, ".npm/_cacache/index");
  JunkRoots roots = JunkRoots::current();
  roots.cacheHome = outside;
  const Scanned scanned = scan(linuxJunkTable(), roots);

  const JunkCleanOutcome outcome = cleanJunk(scanned.only({"caches", "dev"}), scanned.result.identities);

  EXPECT_EQ(outcome.failed, std::vector<std::string>{outside + "/tool"});
  EXPECT_TRUE(exists(outside + "/tool/data"));
  EXPECT_FALSE(exists(home / ".npm/_cacache"));
  EXPECT_EQ(outcome.deleted, 1);
  removeTree(outside);
}

}  // namespace
}  // namespace tw::test
