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

// Runs tidewarden with the Linux catalogue, on top of `environment`.
RunResult tidewarden(const std::vector<std::string>& arguments,
                     std::map<std::string, std::optional<std::string>> environment = {}) {
  environment["TIDEWARDEN_JUNK_TABLE"] = "linux";
  return runTidewarden(arguments, environment);
}

std::set<std::string> safePaths(const JunkHome& layout) {
  std::set<std::string> paths;
  for (const char* id : {"caches", "appcaches", "logs", "xcode", "dev"}) {
    paths.insert(layout.offered.at(id).begin(), layout.offered.at(id).end());
  }
  return paths;
}

// On a fully stocked fake home nothing goes without --safe and --yes and a dry run wins over
// --yes; then exactly the safe categories' paths go, and the history says so.
TEST(CleanCommand, OnlySafeWithYesDeletesAndThenExactlyTheSafeCategories) {
  FakeHome home;
  const JunkHome layout = makeLinuxJunkHome(home);
  const auto safe = safePaths(layout);
  const auto tree = treeSnapshot(home.path());
  const json before = json::parse(tidewarden({"junk", "--json"}).out);

  EXPECT_EQ(tidewarden({"clean", "--yes"}).code, 2);
  const RunResult preview = tidewarden({"clean", "--safe"});
  EXPECT_EQ(preview.code, 1);
  EXPECT_TRUE(preview.out.starts_with("Will delete " + std::to_string(safe.size()) + " items (")) << preview.out;
  EXPECT_NE(preview.out.find("  User Cache Files"), std::string::npos);
  EXPECT_EQ(preview.out.find("Trash"), std::string::npos) << preview.out;
  EXPECT_EQ(preview.out.find("Installers"), std::string::npos);
  EXPECT_EQ(preview.err, "\nNothing was deleted. Re-run with --yes to delete them, or --dry-run to preview.\n");

  const RunResult dryText = tidewarden({"clean", "--safe", "--dry-run", "--yes"});
  EXPECT_EQ(dryText.code, 0);
  EXPECT_TRUE(dryText.out.starts_with("Would delete ")) << dryText.out;
  EXPECT_EQ(dryText.err, "");
  const RunResult dryRun = tidewarden({"clean", "--safe", "-n", "-y", "--json"});
  EXPECT_EQ(dryRun.code, 0);
  const json plan = json::parse(dryRun.out);
  EXPECT_EQ(plan["dryRun"], true);
  EXPECT_EQ(plan["confirmed"], true);
  EXPECT_EQ(plan["count"], safe.size());
  std::set<std::string> listed;
  std::int64_t sum = 0;
  for (const json& category : plan["categories"]) {
    for (const json& item : category["items"]) {
      listed.insert(item["path"].get<std::string>().substr(home.path().size() + 1));
      sum += item["size"].get<std::int64_t>();
    }
  }
  EXPECT_EQ(listed, safe);
  EXPECT_EQ(plan["wouldFree"], sum);
  EXPECT_EQ(treeSnapshot(home.path()), tree);
  EXPECT_TRUE(History::entries().empty());

  const RunResult result = tidewarden({"clean", "--safe", "--yes", "--json"});
  ASSERT_EQ(result.code, 0) << result.out << result.err;
  const json answer = json::parse(result.out);
  EXPECT_EQ(answer["dryRun"], false);
  EXPECT_EQ(answer["confirmed"], true);
  EXPECT_EQ(answer["freed"], before["safeTotal"]);
  EXPECT_EQ(answer["deleted"], safe.size());
  EXPECT_EQ(answer["failed"], json::array());
  for (const auto& path : safe) EXPECT_FALSE(exists(home / path)) << path;
  for (const auto& path : layout.kept) EXPECT_TRUE(exists(home / path)) << path;

  std::int64_t recorded = 0;
  for (const auto& entry : History::entries()) {
    EXPECT_EQ(entry.category, "Smart Clean");
    EXPECT_EQ(entry.restore, "Rebuilt automatically by the app that made it");
    recorded += entry.bytes;
  }
  EXPECT_EQ(recorded, before["safeTotal"]);
  const json after = json::parse(tidewarden({"junk", "--json"}).out);
  EXPECT_EQ(after["safeTotal"], 0);
  EXPECT_EQ(after["total"], before["total"].get<std::int64_t>() - before["safeTotal"].get<std::int64_t>());
}

TEST(CleanCommand, NothingToCleanIsSuccessAndTheTextSummarySaysWhatWasFreed) {
  FakeHome home;
  junkFile(home, "Downloads/Setup.dmg");
  const RunResult nothing = tidewarden({"clean", "--safe"});
  EXPECT_EQ(nothing.code, 0);
  EXPECT_EQ(nothing.out, "Nothing to clean: the ✓ categories of `tidewarden junk` are empty.\n");

  junkFile(home, ".cache/pip/wheel");
  junkFile(home, ".cache/npm/index");
  const RunResult result = tidewarden({"clean", "--safe", "--yes"});
  EXPECT_EQ(result.code, 0) << result.err;
  EXPECT_TRUE(result.out.starts_with("Freed ")) << result.out;
  EXPECT_TRUE(result.out.ends_with(" from 2 items.\n")) << result.out;
  EXPECT_FALSE(exists(home / ".cache/pip"));
  EXPECT_TRUE(exists(home / "Downloads/Setup.dmg"));
}

TEST(CleanCommand, PathsThatCannotBeDeletedAreListedAndTheRunGoesOn) {
  FakeHome home;
  // A cache folder outside the home folder is found but the removal guard refuses it.
  const TempFolder temp;
  const std::string& outside = temp.path();
  writeFilledFile(outside + "/tool/data", junkFileSize);
  junkFile(home, ".npm/_cacache/index");
  junkFile(home, ".config/Code/Cache/data");
  const RunResult result = tidewarden({"clean", "--safe", "--yes"}, {{"XDG_CACHE_HOME", outside}});
  EXPECT_EQ(result.code, 1);
  EXPECT_NE(result.out.find(" from 2 items.\n\n1 item could not be fully deleted (in use or protected):\n  " + outside +
                            "/tool\n"),
            std::string::npos)
      << result.out;
  EXPECT_TRUE(exists(outside + "/tool/data"));
  EXPECT_FALSE(exists(home / ".npm/_cacache"));
  EXPECT_FALSE(exists(home / ".config/Code/Cache"));

  writeFilledFile(home / ".npm/_cacache/index", junkFileSize);
  const RunResult json = tidewarden({"clean", "--safe", "--yes", "--json"}, {{"XDG_CACHE_HOME", outside}});
  EXPECT_EQ(json.code, 1);
  const auto answer = nlohmann::json::parse(json.out);
  EXPECT_EQ(answer["failed"], nlohmann::json::array({outside + "/tool"}));
  EXPECT_EQ(answer["deleted"], 1);
}

}  // namespace
}  // namespace tw::test
