#include <gtest/gtest.h>
#include <unistd.h>

#include <nlohmann/json.hpp>
#include <string>

#include "core/history.h"
#include "junk/junk_fake_home.h"
#include "support/fake_home.h"
#include "support/permissions.h"

namespace tw::test {
namespace {

using nlohmann::json;

std::set<std::string> safePaths(const JunkHome& layout) {
  std::set<std::string> paths;
  for (const auto& id : kSafeJunkCategoryIds) paths.insert(layout.offered.at(id).begin(), layout.offered.at(id).end());
  return paths;
}

// On a fully stocked fake home of one platform: without --safe or --yes, or with --dry-run,
// nothing is deleted; with --yes exactly the safe categories' paths go, and the history
// says so.
void expectSafeCleanDeletesExactlyTheSafeCategories(const std::string& table, JunkHome (*stock)(FakeHome&)) {
  FakeHome home;
  const JunkHome layout = stock(home);
  const auto safe = safePaths(layout);
  const auto tree = treeSnapshot(home.path());
  const RunResult misuse = tidewardenWith(table, {"clean", "--yes"});
  EXPECT_EQ(misuse.code, 2);
  EXPECT_EQ(misuse.err,
            "tidewarden: clean needs --safe (deletes the ✓ categories from `tidewarden junk`)\n"
            "Run 'tidewarden help' for usage.\n");
  const RunResult preview = tidewardenWith(table, {"clean", "--safe"});
  EXPECT_EQ(preview.code, 1);
  EXPECT_TRUE(preview.out.starts_with("Will delete " + std::to_string(safe.size()) + " items (")) << preview.out;
  EXPECT_NE(preview.out.find("  User Cache Files"), std::string::npos);
  EXPECT_EQ(preview.out.find("Trash"), std::string::npos) << preview.out;
  EXPECT_EQ(preview.out.find("Installers"), std::string::npos);
  EXPECT_EQ(preview.err, "\nNothing was deleted. Re-run with --yes to delete them, or --dry-run to preview.\n");
  const RunResult dryText = tidewardenWith(table, {"clean", "--safe", "--dry-run", "--yes"});
  EXPECT_EQ(dryText.code, 0);
  EXPECT_TRUE(dryText.out.starts_with("Would delete ")) << dryText.out;
  EXPECT_EQ(dryText.err, "");
  const RunResult dryJson = tidewardenWith(table, {"clean", "--safe", "-n", "-y", "--json"});
  EXPECT_EQ(dryJson.code, 0);
  const json dry = json::parse(dryJson.out);
  EXPECT_EQ(dry["dryRun"], true);
  EXPECT_EQ(dry["confirmed"], true);
  EXPECT_EQ(dry["count"], safe.size());
  // What is listed, what it frees and, per category with items, what the history will say.
  std::set<std::string> listed;
  std::int64_t safeTotal = 0;
  std::vector<std::pair<std::string, std::int64_t>> history;
  for (const json& category : dry["categories"]) {
    for (const json& item : category["items"]) {
      listed.insert(item["path"].get<std::string>().substr(home.path().size() + 1));
      safeTotal += item["size"].get<std::int64_t>();
    }
    const std::string name = category["title"].get<std::string>() + " (" + category["count"].dump() + " items)";
    if (category["count"] != 0) history.emplace_back(name, category["total"]);
  }
  EXPECT_EQ(listed, safe);
  EXPECT_EQ(dry["wouldFree"], safeTotal);
  EXPECT_EQ(treeSnapshot(home.path()), tree);
  EXPECT_TRUE(home.context().history->entries().empty());

  const RunResult result = tidewardenWith(table, {"clean", "--safe", "--yes", "--json"});

  ASSERT_EQ(result.code, 0) << result.out << result.err;
  const json answer = json::parse(result.out);
  EXPECT_EQ(answer["dryRun"], false);
  EXPECT_EQ(answer["confirmed"], true);
  EXPECT_EQ(answer["freed"], safeTotal);
  EXPECT_EQ(answer["deleted"], safe.size());
  EXPECT_EQ(answer["failed"], json::array());
  for (const auto& path : safe) EXPECT_FALSE(exists(home / path)) << path;
  for (const auto& path : layout.kept) EXPECT_TRUE(exists(home / path)) << path;
  std::vector<std::pair<std::string, std::int64_t>> recorded;
  for (const auto& entry : home.context().history->entries()) {
    EXPECT_EQ(entry.category, "Smart Clean");
    EXPECT_EQ(entry.restore, "Rebuilt automatically by the app that made it");
    recorded.emplace_back(entry.name, entry.bytes);
  }
  EXPECT_EQ(recorded, history);
}

TEST(CleanCommand, OnlyYesDeletesAndOnlyTheSafeCategoriesOfAMacHome) {
  expectSafeCleanDeletesExactlyTheSafeCategories("macos", makeMacJunkHome);
}

TEST(CleanCommand, OnlyYesDeletesAndOnlyTheSafeCategoriesOfALinuxHome) {
  expectSafeCleanDeletesExactlyTheSafeCategories("linux", makeLinuxJunkHome);
}

TEST(CleanCommand, NothingToCleanIsSuccessAndWhatCannotBeDeletedIsListedWhileTheRunGoesOn) {
  FakeHome home;
  junkFile(home, "Downloads/Setup.dmg");
  const RunResult nothing = tidewardenWith("linux", {"clean", "--safe"});
  EXPECT_EQ(nothing.code, 0);
  EXPECT_EQ(nothing.out, "Nothing to clean: the ✓ categories of `tidewarden junk` are empty.\n");
  EXPECT_TRUE(exists(home / "Downloads/Setup.dmg"));

  // An entry that cannot go is listed with the reason it stayed, and the run goes on.
  junkFile(home, ".npm/_cacache/index");
  junkFile(home, ".config/Code/Cache/data");
  junkFile(home, ".cache/locked/data");
  const ImmutableFolder locked(home / ".cache/locked");
  if (!locked.ok()) GTEST_SKIP() << "no immutable folders here: " << locked.reason();
  const RunResult result = tidewardenWith("linux", {"clean", "--safe", "--yes"});
  EXPECT_EQ(result.code, 1);
  EXPECT_TRUE(result.out.starts_with("Freed ")) << result.out;
  EXPECT_NE(result.out.find(" from 2 items.\n\n1 item could not be fully deleted:\n"
                            "  ~/.cache/locked: Couldn't delete locked: Operation not permitted\n"),
            std::string::npos)
      << result.out;
  EXPECT_TRUE(exists(home / ".cache/locked/data"));
  EXPECT_FALSE(exists(home / ".npm/_cacache"));
  EXPECT_FALSE(exists(home / ".config/Code/Cache"));

  junkFile(home, ".npm/_cacache/index");
  const RunResult json = tidewardenWith("linux", {"clean", "--safe", "--yes", "--json"});
  EXPECT_EQ(json.code, 1);
  const auto answer = nlohmann::json::parse(json.out);
  EXPECT_EQ(answer["failed"], nlohmann::json::array({home / ".cache/locked"}));
  EXPECT_EQ(answer["failures"][0]["reason"], "Couldn't delete locked: Operation not permitted");
  EXPECT_EQ(answer["deleted"], 1);
}

TEST(CleanCommand, ACacheTheUserKeepsOutsideTheHomeFolderIsCleanedLikeOneInside) {
  FakeHome home;
  const TempFolder outside("tw-outside-cache");
  writeFilledFile(outside / "tool/data", junkFileSize);
  junkFile(home, ".npm/_cacache/index");
  const RunResult listed = tidewardenWith("linux", {"clean", "--safe", "--dry-run", "--json"}, outside.path());
  ASSERT_EQ(listed.code, 0) << listed.err;
  EXPECT_NE(listed.out.find(outside / "tool"), std::string::npos) << listed.out;

  const RunResult result = tidewardenWith("linux", {"clean", "--safe", "--yes"}, outside.path());

  EXPECT_EQ(result.code, 0) << result.out << result.err;
  EXPECT_TRUE(result.out.starts_with("Freed ")) << result.out;
  EXPECT_NE(result.out.find(" from 2 items.\n"), std::string::npos) << result.out;
  EXPECT_FALSE(exists(outside / "tool"));
  EXPECT_TRUE(exists(outside.path())) << "the cache folder itself stays";
  EXPECT_FALSE(exists(home / ".npm/_cacache"));
}

TEST(CleanCommand, ACacheFolderSetToTheHomeFolderNeverLetsTheHomeFolderGo) {
  FakeHome home;
  home.file("Documents/thesis.tex", 4096);
  const RunResult result = tidewardenWith("linux", {"clean", "--safe", "--yes"}, home.path());
  EXPECT_EQ(result.code, 1) << result.out << result.err;
  EXPECT_NE(result.out.find("  ~/Documents: outside the folders it may delete from, so it was left alone\n"),
            std::string::npos)
      << result.out;
  EXPECT_TRUE(exists(home / "Documents/thesis.tex"));
}

TEST(CleanCommand, LinksToOutsideTheHomeAreMeasuredAndDeletedAsLinks) {
  FakeHome home;
  const std::string outside = makeTempFolder("tw-outside");
  // A long target makes the link take a block of its own, so it is not dropped as empty.
  const std::string target = outside + "/" + std::string(100, 't'), link = home / "Library/Caches/linked";
  writeFilledFile(target + "/precious", 1 << 20);
  writeFilledFile(target + "/App/Cache/data", junkFileSize);
  home.folder("Library/Caches");
  home.folder("Library/Application Support");
  // A cache entry, a folder the cache walk would enter and a whole category's folder.
  for (const std::string& path : {link, home / "Library/Application Support/Linked", home / "Library/Logs"}) {
    ASSERT_EQ(::symlink(target.c_str(), path.c_str()), 0);
  }
  const json listing = json::parse(tidewardenWith("macos", {"junk", "--json", "--items"}).out);
  EXPECT_EQ(listing["categories"][1]["count"], 0) << "no walk through a link";
  // A category's own folder that is a link is listed there, once.
  EXPECT_EQ(listing["categories"][2]["count"], 2) << "the listing starts through a link";
  if (allocatedBytes(link) == 0) GTEST_SKIP() << "this file system gives links no blocks of their own";
  const json& items = listing["categories"][0]["items"];
  ASSERT_EQ(items.size(), 1u);
  EXPECT_EQ(items[0]["path"], link);
  EXPECT_EQ(items[0]["size"], allocatedBytes(link));
  EXPECT_LT(items[0]["size"], 1 << 20);

  // The link entry goes as a link; what lies behind the linked Logs folder is never removed
  // from the home folder.
  const RunResult result = tidewardenWith("macos", {"clean", "--safe", "--yes"});
  EXPECT_EQ(result.code, 1) << result.out;
  EXPECT_TRUE(result.out.starts_with("Freed ")) << result.out;
  EXPECT_NE(result.out.find(" from 1 item.\n\n2 items could not be fully deleted:\n"), std::string::npos) << result.out;
  EXPECT_NE(result.out.find("  ~/Library/Logs/precious: it is reached through the link ~/Library/Logs, which removals "
                            "never follow"),
            std::string::npos)
      << result.out;
  EXPECT_FALSE(exists(link));
  EXPECT_TRUE(exists(target + "/precious") && exists(target + "/App/Cache/data"));
  removeTree(outside);
}

}  // namespace
}  // namespace tw::test
