#include <gtest/gtest.h>
#include <unistd.h>

#include <nlohmann/json.hpp>
#include <string>

#include "core/history.h"
#include "junk/junk_fake_home.h"
#include "support/fake_home.h"

namespace tw::test {
namespace {

using nlohmann::json;

RunResult tidewarden(const std::string& table, const std::vector<std::string>& arguments) {
  return runTidewarden(arguments, {{"TIDEWARDEN_JUNK_TABLE", table}});
}

std::set<std::string> safePaths(const JunkHome& layout) {
  std::set<std::string> paths;
  for (const char* id : {"caches", "appcaches", "logs", "xcode", "dev"}) {
    paths.insert(layout.offered.at(id).begin(), layout.offered.at(id).end());
  }
  return paths;
}

// Runs a safe clean with --yes on a fully stocked fake home of one platform and checks
// that exactly the safe categories' paths went, and that the history says so.
void expectSafeCleanDeletesExactlyTheSafeCategories(const std::string& table, JunkHome (*stock)(FakeHome&)) {
  FakeHome home;
  const JunkHome layout = stock(home);
  const json before = json::parse(tidewarden(table, {"junk", "--json"}).out);
  std::int64_t safeCount = 0;
  for (const json& category : before["categories"]) {
    if (category["safe"]) safeCount += category["count"].get<std::int64_t>();
  }

  const RunResult result = tidewarden(table, {"clean", "--safe", "--yes", "--json"});

  ASSERT_EQ(result.code, 0) << result.out << result.err;
  const json answer = json::parse(result.out);
  EXPECT_EQ(answer["dryRun"], false);
  EXPECT_EQ(answer["confirmed"], true);
  EXPECT_EQ(answer["freed"], before["safeTotal"]);
  EXPECT_EQ(answer["deleted"], safeCount);
  EXPECT_EQ(answer["failed"], json::array());
  for (const auto& path : safePaths(layout)) EXPECT_FALSE(exists(home / path)) << path;
  for (const auto& path : layout.kept) EXPECT_TRUE(exists(home / path)) << path;

  const auto entries = History::entries();
  ASSERT_FALSE(entries.empty());
  std::int64_t recorded = 0;
  for (const auto& entry : entries) {
    EXPECT_EQ(entry.category, "Smart Clean");
    EXPECT_EQ(entry.restore, "Rebuilt automatically by the app that made it");
    recorded += entry.bytes;
  }
  EXPECT_EQ(recorded, before["safeTotal"]);

  const json after = json::parse(tidewarden(table, {"junk", "--json"}).out);
  EXPECT_EQ(after["safeTotal"], 0);
  EXPECT_EQ(after["total"], before["total"].get<std::int64_t>() - before["safeTotal"].get<std::int64_t>());
}

TEST(CleanCommand, WithoutSafeItIsMisuseAndDeletesNothing) {
  FakeHome home;
  makeMacJunkHome(home);
  const auto tree = treeSnapshot(home.path());
  const RunResult result = tidewarden("macos", {"clean", "--yes"});
  EXPECT_EQ(result.code, 2);
  EXPECT_EQ(result.err,
            "tidewarden: clean needs --safe (deletes the ✓ categories from `tidewarden junk`)\n"
            "Run 'tidewarden help' for usage.\n");
  EXPECT_EQ(treeSnapshot(home.path()), tree);
}

TEST(CleanCommand, WithoutYesItPreviewsDeletesNothingAndExitsOne) {
  FakeHome home;
  makeMacJunkHome(home);
  const auto tree = treeSnapshot(home.path());
  const RunResult result = tidewarden("macos", {"clean", "--safe"});
  EXPECT_EQ(result.code, 1);
  EXPECT_TRUE(result.out.starts_with("Will delete 25 items (")) << result.out;
  EXPECT_NE(result.out.find("  User Cache Files"), std::string::npos);
  EXPECT_EQ(result.out.find("Trash"), std::string::npos) << result.out;
  EXPECT_EQ(result.out.find("Installers"), std::string::npos);
  EXPECT_EQ(result.err, "\nNothing was deleted. Re-run with --yes to delete them, or --dry-run to preview.\n");
  EXPECT_EQ(treeSnapshot(home.path()), tree);
  EXPECT_TRUE(History::entries().empty());
}

TEST(CleanCommand, DryRunWinsOverYesAndExitsZero) {
  FakeHome home;
  const JunkHome layout = makeLinuxJunkHome(home);
  const auto tree = treeSnapshot(home.path());
  const RunResult text = tidewarden("linux", {"clean", "--safe", "--dry-run", "--yes"});
  EXPECT_EQ(text.code, 0);
  EXPECT_TRUE(text.out.starts_with("Would delete ")) << text.out;
  EXPECT_EQ(text.err, "");

  const RunResult result = tidewarden("linux", {"clean", "--safe", "-n", "-y", "--json"});
  EXPECT_EQ(result.code, 0);
  const json answer = json::parse(result.out);
  EXPECT_EQ(answer["dryRun"], true);
  EXPECT_EQ(answer["confirmed"], true);
  EXPECT_EQ(answer["count"], safePaths(layout).size());
  std::set<std::string> listed;
  std::int64_t sum = 0;
  for (const json& category : answer["categories"]) {
    for (const json& item : category["items"]) {
      listed.insert(item["path"].get<std::string>().substr(home.path().size() + 1));
      sum += item["size"].get<std::int64_t>();
    }
  }
  EXPECT_EQ(listed, safePaths(layout));
  EXPECT_EQ(answer["wouldFree"], sum);
  EXPECT_EQ(treeSnapshot(home.path()), tree);
}

TEST(CleanCommand, YesDeletesExactlyTheSafeCategoriesOfAMacHome) {
  expectSafeCleanDeletesExactlyTheSafeCategories("macos", makeMacJunkHome);
}

TEST(CleanCommand, YesDeletesExactlyTheSafeCategoriesOfALinuxHome) {
  expectSafeCleanDeletesExactlyTheSafeCategories("linux", makeLinuxJunkHome);
}

TEST(CleanCommand, TextSummarySaysWhatWasFreed) {
  FakeHome home;
  junkFile(home, ".cache/pip/wheel");
  junkFile(home, ".cache/npm/index");
  const RunResult result = tidewarden("linux", {"clean", "--safe", "--yes"});
  EXPECT_EQ(result.code, 0) << result.err;
  EXPECT_TRUE(result.out.starts_with("Freed ")) << result.out;
  EXPECT_TRUE(result.out.ends_with(" from 2 items.\n")) << result.out;
  EXPECT_FALSE(exists(home / ".cache/pip"));
}

TEST(CleanCommand, NothingToCleanIsSuccess) {
  FakeHome home;
  junkFile(home, "Downloads/Setup.dmg");
  const RunResult result = tidewarden("linux", {"clean", "--safe"});
  EXPECT_EQ(result.code, 0);
  EXPECT_EQ(result.out, "Nothing to clean: the ✓ categories of `tidewarden junk` are empty.\n");
  EXPECT_TRUE(exists(home / "Downloads/Setup.dmg"));
}

TEST(CleanCommand, PathsThatCannotBeDeletedAreListedAndTheRunGoesOn) {
  FakeHome home;
  // A cache folder outside the home folder is found but the removal guard refuses it.
  const std::string outside = makeTempFolder("tw-outside-cache");
  writeFilledFile(outside + "/tool/data", junkFileSize);
  junkFile(home, ".npm/_cacache/index");
  junkFile(home, ".config/Code/Cache/data");
  const RunResult result =
      runTidewarden({"clean", "--safe", "--yes"}, {{"TIDEWARDEN_JUNK_TABLE", "linux"}, {"XDG_CACHE_HOME", outside}});
  EXPECT_EQ(result.code, 1);
  EXPECT_NE(result.out.find(" from 2 items.\n\n1 item could not be fully deleted (in use or protected):\n  " + outside +
                            "/tool\n"),
            std::string::npos)
      << result.out;
  EXPECT_TRUE(exists(outside + "/tool/data"));
  EXPECT_FALSE(exists(home / ".npm/_cacache"));
  EXPECT_FALSE(exists(home / ".config/Code/Cache"));

  writeFilledFile(home / ".npm/_cacache/index", junkFileSize);
  const RunResult json = runTidewarden({"clean", "--safe", "--yes", "--json"},
                                       {{"TIDEWARDEN_JUNK_TABLE", "linux"}, {"XDG_CACHE_HOME", outside}});
  EXPECT_EQ(json.code, 1);
  const auto answer = nlohmann::json::parse(json.out);
  EXPECT_EQ(answer["failed"], nlohmann::json::array({outside + "/tool"}));
  EXPECT_EQ(answer["deleted"], 1);
  removeTree(outside);
}

TEST(CleanCommand, ALinkToOutsideTheHomeGoesWithoutItsTarget) {
  FakeHome home;
  const std::string outside = makeTempFolder("tw-outside");
  const std::string target = outside + "/" + std::string(100, 't');
  writeFilledFile(target + "/precious", 1 << 20);
  home.folder("Library/Caches");
  ASSERT_EQ(::symlink(target.c_str(), (home / "Library/Caches/linked").c_str()), 0);
  const json listing = json::parse(tidewarden("macos", {"junk", "--json"}).out);
  EXPECT_LT(listing["safeTotal"].get<std::int64_t>(), 1 << 20);

  const RunResult result = tidewarden("macos", {"clean", "--safe", "--yes"});
  EXPECT_EQ(result.code, 0) << result.out;
  EXPECT_TRUE(exists(target + "/precious"));
  if (listing["safeTotal"] != 0) {
    EXPECT_FALSE(exists(home / "Library/Caches/linked"));
  }
  removeTree(outside);
}

}  // namespace
}  // namespace tw::test
