#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <nlohmann/json.hpp>

#include "core/format.h"
#include "trash/trash_fixture.h"

namespace tw::test {

TEST(TrashCommand, SubcommandsOtherThanListOrEmptyAreMisuse) {
  FakeHome home;
  const auto result = runTidewarden({"trash", "purge"});
  EXPECT_EQ(result.code, 2);
  EXPECT_EQ(result.out, "");
  EXPECT_EQ(result.err,
            "tidewarden: unknown trash subcommand 'purge' (expected 'list' or 'empty')\n"
            "Run 'tidewarden help' for usage.\n");
}

TEST(TrashCommand, YesAndDryRunBelongToEmptyOnly) {
  FakeHome home;
  placeInHomeTrash(home, "a.txt", std::nullopt);
  for (const auto& flag : {"--yes", "--dry-run", "-y"}) {
    const auto result = runTidewarden({"trash", "list", flag});
    EXPECT_EQ(result.code, 2) << flag;
    EXPECT_EQ(result.err,
              "tidewarden: --yes and --dry-run only apply to `trash empty`\nRun 'tidewarden help' for usage.\n");
  }
  EXPECT_EQ(runTidewarden({"trash", "--yes"}).code, 2);
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
      EXPECT_TRUE(item.at("trashed").is_null());
    } else if (item.at("name") == "dir") {
      EXPECT_GE(item.at("size").get<std::int64_t>(), 50'000);
    }
  }
  EXPECT_EQ(json.at("total"), total);
  EXPECT_EQ(json.at("items")[0].at("name"), "dir");
}

TEST(TrashCommand, WhatTrashPutTrashedIsListedWithTrashListsOriginAndDate) {
  FakeHome home;
  const std::string a = home.file("Desktop/report.txt", 100);
  const std::string b = home.file("Documents/report.txt", 200);
  const std::string folder = home.folder("Projects/target");
  writeFilledFile(folder + "/debug/app", 30'000);
  trashPut({a, b, folder});
  const auto listed = trashList(home.path());
  ASSERT_EQ(listed.size(), 3u);

  const auto result = runTidewarden({"trash", "--json"});

  ASSERT_EQ(result.code, 0) << result.err;
  const auto items = nlohmann::json::parse(result.out).at("items");
  ASSERT_EQ(items.size(), 3u);
  for (const auto& line : listed) {
    const auto match = std::find_if(items.begin(), items.end(), [&](const nlohmann::json& item) {
      return item.at("origin") == line.origin && parseIso8601(item.at("trashed").get<std::string>()).has_value() &&
             localTimestamp(*parseIso8601(item.at("trashed").get<std::string>()), ' ') == line.deleted;
    });
    EXPECT_NE(match, items.end()) << line.deleted << " " << line.origin << "\n" << result.out;
  }
}

TEST(TrashCommand, AnUnreadableHomeTrashNamesTheRealFolder) {
  FakeHome home;
  placeInHomeTrash(home, "a.txt", std::nullopt);
  giveToNobody(home.path());
  ASSERT_EQ(::chmod(homeTrashFiles(home).c_str(), 0), 0);

  const auto result =
      ::getuid() == 0
          ? runProcess({"setpriv", "--reuid=65534", "--regid=65534", "--clear-groups", TIDEWARDEN_BINARY, "trash"})
          : runTidewarden({"trash"});

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

  const auto result = ::getuid() == 0 ? runProcess({"setpriv", "--reuid=65534", "--regid=65534", "--clear-groups",
                                                    TIDEWARDEN_BINARY, "trash", "--json"})
                                      : runTidewarden({"trash", "--json"});

  ASSERT_EQ(result.code, 0) << result.err;
  const auto items = nlohmann::json::parse(result.out).at("items");
  ASSERT_EQ(items.size(), 1u);
  EXPECT_EQ(items[0].at("origin"), "/srv/sealed");
  EXPECT_EQ(items[0].at("trashed"), iso8601(deleted));
  EXPECT_LT(items[0].at("size").get<std::int64_t>(), 40'000);
}

}  // namespace tw::test
