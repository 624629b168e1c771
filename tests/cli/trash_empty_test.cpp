#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <nlohmann/json.hpp>

#include "core/format.h"
#include "core/history.h"
#include "trash/trash_fixture.h"

namespace tw::test {
namespace {

void fillTrash(const FakeHome& home) {
  placeInHomeTrash(home, "one.log", trashInfoText(home / "one.log", daysAgo(1)), 10'000);
  placeInHomeTrash(home, "two.log", trashInfoText(home / "two.log", daysAgo(2)), 20'000);
}

}  // namespace

TEST(TrashEmptyCommand, WithoutYesOrWithDryRunOnlyPreviews) {
  FakeHome home;
  fillTrash(home);

  const auto refused = runTidewarden({"trash", "empty"});
  const auto text = runTidewarden({"trash", "empty", "--dry-run", "--yes"});
  const auto json = runTidewarden({"trash", "empty", "-n", "--json"});

  EXPECT_EQ(refused.code, 1);
  EXPECT_NE(refused.out.find("one.log"), std::string::npos);
  EXPECT_TRUE(refused.out.ends_with("\nWill permanently delete everything above. This can't be undone.\n"))
      << refused.out;
  EXPECT_EQ(refused.err, "\nNothing was deleted. Re-run with --yes to empty the Trash, or --dry-run to preview.\n");
  EXPECT_EQ(text.code, 0) << text.err;
  EXPECT_TRUE(text.out.ends_with("\nWould permanently delete everything above. This can't be undone.\n"));
  EXPECT_EQ(text.err, "");
  ASSERT_EQ(json.code, 0) << json.err;
  const auto preview = nlohmann::json::parse(json.out);
  EXPECT_EQ(preview.at("dryRun"), true);
  EXPECT_EQ(preview.at("confirmed"), false);
  EXPECT_EQ(preview.at("count"), 2);
  EXPECT_GE(preview.at("wouldFree").get<std::int64_t>(), 30'000);
  EXPECT_EQ(preview.at("items").size(), 2u);
  EXPECT_TRUE(exists(homeTrashFiles(home) + "/one.log"));
  EXPECT_TRUE(exists(homeTrashFiles(home) + "/two.log"));
}

TEST(TrashEmptyCommand, WithYesDeletesEverythingAndRecordsIt) {
  FakeHome home;
  fillTrash(home);
  writeFilledFile(homeTrashFiles(home) + "/folder/deep/file", 5000);
  writeFile(homeTrashFiles(home) + "/.DS_Store", "finder's own");
  const std::string outside = home.file("Documents/keep.txt", 100);
  const auto before = nlohmann::json::parse(runTidewarden({"trash", "--json"}).out);

  const auto result = runTidewarden({"trash", "empty", "--yes"});

  EXPECT_EQ(result.code, 0) << result.err;
  EXPECT_EQ(result.out, "Deleted 3 items, freed about " + byteFormatter(before.at("total").get<std::int64_t>()) + "\n");
  EXPECT_FALSE(exists(homeTrashFiles(home) + "/one.log"));
  EXPECT_FALSE(exists(homeTrashFiles(home) + "/folder"));
  EXPECT_FALSE(exists(homeTrashInfo(home) + "/one.log.trashinfo"));
  EXPECT_TRUE(exists(homeTrashFiles(home) + "/.DS_Store"));
  EXPECT_TRUE(exists(outside));
  const auto history = home.context().history->entries();
  ASSERT_EQ(history.size(), 3u);
  for (const auto& entry : history) EXPECT_EQ(entry.category, "Trash");

  const auto again = runTidewarden({"trash", "empty", "--yes"});
  EXPECT_EQ(again.code, 0) << again.err;
  EXPECT_EQ(again.out, "The Trash is already empty.\n");
}

// What trash-put trashed (a name clash, a folder, an odd name) is listed with the origin
// and date trash-list prints, and what `trash empty` deletes is gone from trash-list.
TEST(TrashEmptyCommand, AgreesWithTrashListBeforeAndAfter) {
  FakeHome home;
  const std::string folder = home.folder("Projects/target");
  writeFilledFile(folder + "/debug/app", 30'000);
  trashPut({home.file("Desktop/report.txt", 100), home.file("Documents/report.txt", 200),
            home.file("Documents/Résumé final (v2)%.pdf", 10), folder});
  const auto listed = trashList(home.path());
  ASSERT_EQ(listed.size(), 4u);

  const auto list = runTidewarden({"trash", "--json"});
  const auto result = runTidewarden({"trash", "empty", "--yes", "--json"});

  ASSERT_EQ(list.code, 0) << list.err;
  const auto items = nlohmann::json::parse(list.out).at("items");
  ASSERT_EQ(items.size(), 4u);
  for (const auto& line : listed) {
    const auto match = std::find_if(items.begin(), items.end(), [&](const nlohmann::json& item) {
      const auto trashed = parseIso8601(item.at("trashed").get<std::string>());
      return item.at("origin") == line.origin && trashed && localTimestamp(*trashed, ' ') == line.deleted;
    });
    ASSERT_NE(match, items.end()) << line.deleted << " " << line.origin << "\n" << list.out;
    if (line.origin == folder) {
      EXPECT_GE(match->at("size").get<std::int64_t>(), 30'000);
    }
  }
  ASSERT_EQ(result.code, 0) << result.err;
  const auto json = nlohmann::json::parse(result.out);
  EXPECT_EQ(json.at("dryRun"), false);
  EXPECT_EQ(json.at("confirmed"), true);
  EXPECT_EQ(json.at("deleted"), 4);
  EXPECT_GE(json.at("freed").get<std::int64_t>(), 30'000);
  EXPECT_EQ(json.at("needsAdmin"), nlohmann::json::array());
  EXPECT_EQ(result.err, "");
  EXPECT_TRUE(trashList(home.path()).empty());
}

TEST(TrashEmptyCommand, ListsWhatNeedsAdministratorRights) {
  FakeHome home;
  placeInHomeTrash(home, "mine.txt", std::nullopt, 100);
  writeFilledFile(homeTrashFiles(home) + "/system-owned/file", 100);
  if (::getuid() != 0) GTEST_SKIP() << "needs root to make an item its owner cannot delete";
  giveToNobody(home.path());
  ASSERT_EQ(::lchown((homeTrashFiles(home) + "/system-owned").c_str(), 0, 0), 0);

  const auto result = runTidewardenUnprivileged({"trash", "empty", "--yes"});

  EXPECT_EQ(result.code, 1) << result.err;
  EXPECT_TRUE(result.out.starts_with("Deleted 1 item, freed about ")) << result.out;
  EXPECT_NE(result.out.find("\n1 need administrator rights; delete them from the Tidewarden app or with sudo:\n"
                            "  ~/.local/share/Trash/files/system-owned\n"),
            std::string::npos)
      << result.out;
  EXPECT_TRUE(exists(homeTrashFiles(home) + "/system-owned/file"));
  EXPECT_FALSE(exists(homeTrashFiles(home) + "/mine.txt"));

  const auto json = runTidewardenUnprivileged({"trash", "empty", "--yes", "--json"});
  EXPECT_EQ(nlohmann::json::parse(json.out).at("needsAdmin"),
            nlohmann::json::array({homeTrashFiles(home) + "/system-owned"}));
}

TEST(TrashEmptyCommand, UnlocksImmutableEntriesLikeChflagsWould) {
  FakeHome home;
  const std::string locked = placeInHomeTrash(home, "locked.bin", std::nullopt, 100);
  writeFilledFile(homeTrashFiles(home) + "/tree/append-only.log", 100);
  if (runProcess({"chattr", "+i", locked}).code != 0 ||
      runProcess({"chattr", "+a", homeTrashFiles(home) + "/tree/append-only.log"}).code != 0) {
    GTEST_SKIP() << "this file system or user cannot set the immutable flag";
  }

  const auto result = runTidewarden({"trash", "empty", "--yes"});

  EXPECT_EQ(result.code, 0) << result.out << result.err;
  EXPECT_FALSE(exists(locked));
  EXPECT_FALSE(exists(homeTrashFiles(home) + "/tree"));
}

}  // namespace tw::test
