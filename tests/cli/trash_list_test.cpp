#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <nlohmann/json.hpp>

#include "core/format.h"
#include "trash/trash_fixture.h"

namespace tw::test {

TEST(TrashCommand, UnknownSubcommandsAndConfirmationOutsideEmptyAreMisuse) {
  FakeHome home;
  placeInHomeTrash(home, "a.txt", std::nullopt);
  const std::string onlyEmpty =
      "tidewarden: --yes and --dry-run only apply to `trash empty`\nRun 'tidewarden help' for usage.\n";
  const std::vector<std::pair<std::vector<std::string>, std::string>> cases{
      {{"trash", "purge"},
       "tidewarden: unknown trash subcommand 'purge' (expected 'list' or 'empty')\nRun 'tidewarden help' for usage.\n"},
      {{"trash", "list", "--yes"}, onlyEmpty},
      {{"trash", "list", "--dry-run"}, onlyEmpty},
      {{"trash", "list", "-y"}, onlyEmpty},
      {{"trash", "--yes"}, onlyEmpty},
  };
  for (const auto& [args, err] : cases) {
    const auto result = runTidewarden(args);
    EXPECT_EQ(result.code, 2) << args.back();
    EXPECT_EQ(result.out, "") << args.back();
    EXPECT_EQ(result.err, err) << args.back();
  }
  EXPECT_TRUE(exists(homeTrashFiles(home) + "/a.txt"));
}

TEST(TrashCommand, AnEmptyTrashSaysSo) {
  FakeHome home;
  const auto result = runTidewarden({"trash"});
  EXPECT_EQ(result.code, 0) << result.err;
  EXPECT_EQ(result.out, "The Trash is empty.\n");

  const auto json = runTidewarden({"trash", "list", "--json"});
  EXPECT_EQ(nlohmann::json::parse(json.out),
            nlohmann::json({{"total", 0}, {"count", 0}, {"items", nlohmann::json::array()}}));
}

TEST(TrashCommand, ListsEntriesWithSizeDateAndOriginLargestFirst) {
  FakeHome home;
  const Date deleted = daysAgo(5);
  placeInHomeTrash(home, "small.txt", trashInfoText(home / "Desktop/small.txt", deleted), 2000);
  placeInHomeTrash(home, "big.iso", trashInfoText("/srv/media/big.iso", deleted), 900'000);
  writeFilledFile(homeTrashFiles(home) + "/.localized", 10);

  const auto result = runTidewarden({"trash"});

  ASSERT_EQ(result.code, 0) << result.err;
  const auto lines = splitLines(result.out);
  ASSERT_GE(lines.size(), 5u);
  EXPECT_TRUE(lines[0].starts_with("NAME")) << result.out;
  EXPECT_TRUE(lines[1].starts_with("big.iso")) << result.out;
  EXPECT_TRUE(lines[2].starts_with("small.txt")) << result.out;
  const std::string date = localDateTime(deleted);
  EXPECT_NE(lines[2].find(date), std::string::npos) << result.out;
  EXPECT_TRUE(lines[2].ends_with("~/Desktop/small.txt")) << result.out;
  EXPECT_TRUE(lines[1].ends_with("/srv/media/big.iso")) << result.out;
  EXPECT_EQ(result.out.find(".localized"), std::string::npos);
  EXPECT_EQ(lines[4].rfind("2 items, ", 0), 0u) << result.out;
}

TEST(TrashCommand, JsonHasEveryEntryWithNullsForWhatIsUnknown) {
  FakeHome home;
  const Date deleted = daysAgo(1);
  placeInHomeTrash(home, "known.txt", trashInfoText(home / "known.txt", deleted), 3000);
  placeInHomeTrash(home, "orphan", std::nullopt, 10);
  writeFilledFile(homeTrashFiles(home) + "/dir/a", 50'000);
  // A name that is not UTF-8 must not break the JSON.
  writeFilledFile(homeTrashFiles(home) + "/bad\xff\xfename", 10);

  const auto result = runTidewarden({"trash", "--json"});

  ASSERT_EQ(result.code, 0) << result.err;
  const auto json = nlohmann::json::parse(result.out);
  EXPECT_EQ(json.at("count"), 4);
  std::int64_t total = 0;
  for (const auto& item : json.at("items")) {
    EXPECT_EQ(item.size(), 6u) << item.dump();
    for (const char* key : {"path", "name", "size", "freeable", "trashed", "origin"}) {
      EXPECT_TRUE(item.contains(key)) << key;
    }
    total += item.at("freeable").get<std::int64_t>();
    if (item.at("name") == "known.txt") {
      EXPECT_EQ(item.at("origin"), home / "known.txt");
      EXPECT_EQ(item.at("trashed"), iso8601(deleted));
      EXPECT_EQ(item.at("path"), homeTrashFiles(home) + "/known.txt");
    } else if (item.at("name") == "orphan") {
      EXPECT_TRUE(item.at("origin").is_null());
      EXPECT_TRUE(item.at("trashed").is_string()) << "dated by its change time";
    } else if (item.at("name") == "dir") {
      EXPECT_GE(item.at("size").get<std::int64_t>(), 50'000);
    }
  }
  EXPECT_EQ(json.at("total"), total);
  EXPECT_EQ(json.at("items")[0].at("name"), "dir");
}

TEST(TrashCommand, AnUnreadableHomeTrashNamesTheRealFolder) {
  FakeHome home;
  placeInHomeTrash(home, "a.txt", std::nullopt);
  giveToNobody(home.path());
  ASSERT_EQ(::chmod(homeTrashFiles(home).c_str(), 0), 0);

  const auto result = runTidewardenUnprivileged({"trash"});

  EXPECT_EQ(result.code, 1);
  EXPECT_EQ(result.out, "");
  EXPECT_EQ(result.err,
            "tidewarden: can't read ~/.local/share/Trash/files. Check that folder's permissions, then try again.\n");
}

TEST(TrashCommand, AnItemWithoutReadPermissionIsListedWithWhatIsKnown) {
  FakeHome home;
  const Date deleted = daysAgo(2);
  writeFilledFile(homeTrashFiles(home) + "/sealed/inside", 40'000);
  makeFolders(homeTrashInfo(home));
  writeFile(homeTrashInfo(home) + "/sealed.trashinfo", trashInfoText("/srv/sealed", deleted));
  giveToNobody(home.path());
  ASSERT_EQ(::chmod((homeTrashFiles(home) + "/sealed").c_str(), 0), 0);

  const auto result = runTidewardenUnprivileged({"trash", "--json"});

  ASSERT_EQ(result.code, 0) << result.err;
  const auto items = nlohmann::json::parse(result.out).at("items");
  ASSERT_EQ(items.size(), 1u);
  EXPECT_EQ(items[0].at("origin"), "/srv/sealed");
  EXPECT_EQ(items[0].at("trashed"), iso8601(deleted));
  EXPECT_LT(items[0].at("size").get<std::int64_t>(), 40'000);
}

}  // namespace tw::test
