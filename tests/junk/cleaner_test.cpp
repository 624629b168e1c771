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

// What a clean deletes from a stocked home, and how the history records it, is checked
// through `tidewarden clean`; here, what changes between scanning and cleaning.
TEST(SmartCleanRemoval, PathsChangedSinceScanningAreLeftAloneAndTheRunGoesOn) {
  FakeHome home;
  const std::string outside = makeTempFolder("tw-outside"), caches = home / "Library/Caches";
  writeFilledFile(outside + "/precious", junkFileSize);
  for (const char* name : {"to-file/data", "to-link/data", "other/data"})
    junkFile(home, "Library/Caches/" + std::string(name));
  junkFile(home, "Library/Logs/gone.log");
  const std::int64_t otherBytes = allocatedBytes(caches + "/other");
  const auto categories = JunkModel::makeCategories(macOSJunkTable(), JunkRoots::of(home.context()));
  const JunkScanResult scanned = scanJunk(categories);
  removeTree(caches + "/to-file");
  writeFile(caches + "/to-file", "not what was measured");
  removeTree(caches + "/to-link");
  ASSERT_EQ(::symlink(outside.c_str(), (caches + "/to-link").c_str()), 0);
  removeTree(home / "Library/Logs/gone.log");

  const std::vector<const JunkCategory*> chosen{categories.at(0).get(), categories.at(2).get()};
  ASSERT_EQ(chosen[0]->id + " " + chosen[1]->id, "caches logs");
  const JunkCleanOutcome outcome = cleanJunk(chosen, scanned.identities, home.context());

  std::multiset<std::string> failed;
  for (const auto& failure : outcome.failed) failed.insert(failure.path);
  EXPECT_EQ(failed, (std::multiset<std::string>{caches + "/to-file", caches + "/to-link"}))
      << "a replaced path fails, a vanished one does not";
  EXPECT_EQ(readFile(caches + "/to-file"), "not what was measured");
  EXPECT_TRUE(exists(caches + "/to-link") && exists(outside + "/precious")) << "a link is never followed";
  EXPECT_FALSE(exists(caches + "/other"));
  EXPECT_EQ(outcome.deleted, 1);
  EXPECT_EQ(outcome.freed, otherBytes) << "only what was deleted counts";
  const auto entries = home.context().history->entries();
  ASSERT_EQ(entries.size(), 1u) << "a category that deleted nothing records nothing";
  EXPECT_EQ(entries[0].name, "User Cache Files (1 item)");
  EXPECT_EQ(entries[0].bytes, otherBytes);
  removeTree(outside);
}

}  // namespace
}  // namespace tw::test
