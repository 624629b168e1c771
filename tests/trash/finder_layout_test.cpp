#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "support/fake_home.h"
#include "trash/ds_store_fixture.h"
#include "trash/finder_layout.h"
#include "trash/trash_model.h"

namespace tw::test {

TEST(FinderTrashOrigin, LeadingAndTrailingSlashesMakeNoDifference) {
  const PutBack withLeading{"/Users/a/Desktop", std::nullopt};
  const PutBack withTrailing{"Users/a/Desktop/", std::nullopt};

  EXPECT_EQ(FinderLayout::origin(withLeading, "notes.txt", "/"), "/Users/a/Desktop/notes.txt");
  EXPECT_EQ(FinderLayout::origin(withTrailing, "notes.txt", "/"), "/Users/a/Desktop/notes.txt");
}

TEST(FinderTrashOrigin, VolumeTrashesPutBackOntoTheirVolume) {
  const PutBack withLeading{"/Users/a/Desktop", std::nullopt};
  const PutBack withTrailing{"Users/a/Desktop/", std::nullopt};

  EXPECT_EQ(FinderLayout::origin(withLeading, "notes.txt", "/Volumes/X"), "/Volumes/X/Users/a/Desktop/notes.txt");
  EXPECT_EQ(FinderLayout::origin(withTrailing, "notes.txt", "/Volumes/X"), "/Volumes/X/Users/a/Desktop/notes.txt");
}

TEST(FinderTrashOrigin, UsesTheRecordedFormerNameAndNeedsAFolder) {
  // The Finder renames a clashing item in the Trash ("notes 10.42.11.txt") and records the old name.
  EXPECT_EQ(FinderLayout::origin({"Users/a/", "notes.txt"}, "notes 10.42.11.txt", "/"), "/Users/a/notes.txt");
  EXPECT_EQ(FinderLayout::origin({"", std::nullopt}, "top.txt", "/Volumes/X"), "/Volumes/X/top.txt");
  EXPECT_EQ(FinderLayout::origin({"///", std::nullopt}, "top.txt", "/"), "/top.txt");
  EXPECT_FALSE(FinderLayout::origin({std::nullopt, "notes.txt"}, "notes.txt", "/"));
}

TEST(FinderTrashFolders, HomeTrashThenEachVolumesTrashOfThisUserOnly) {
  FakeHome home;
  const std::string volumes = home.folder("Volumes");
  const unsigned uid = static_cast<unsigned>(::getuid());
  makeFolders(volumes + "/Backup/.Trashes/" + std::to_string(uid));
  makeFolders(volumes + "/Shared/.Trashes/" + std::to_string(uid + 1));
  makeFolders(volumes + "/Empty Stick");

  const auto dirs = FinderLayout::trashDirs(home.path(), volumes, uid);

  ASSERT_EQ(dirs.size(), 2u);
  EXPECT_EQ(dirs[0], (TrashDir{home / ".Trash", "/"}));
  EXPECT_EQ(dirs[1], (TrashDir{volumes + "/Backup/.Trashes/" + std::to_string(uid), volumes + "/Backup"}));
}

TEST(FinderTrashFolders, AMissingVolumesFolderLeavesTheHomeTrash) {
  FakeHome home;
  const auto dirs = FinderLayout::trashDirs(home.path(), home / "no-such-folder", 501);
  ASSERT_EQ(dirs.size(), 1u);
  EXPECT_EQ(dirs[0].dir, home / ".Trash");
}

TEST(FinderPutBackInfo, IsReadFromTheTrashFoldersDsStore) {
  FakeHome home;
  const std::string trash = home.folder(".Trash");
  DsStoreFixture file;
  file.text("notes.txt", "ptbL", "Users/ann/").text("notes.txt", "ptbN", "notes.txt");
  writeFile(trash + "/.DS_Store", file.bytes());

  const auto info = TrashModel::putBackInfo(trash, {"notes.txt"});

  ASSERT_EQ(info.count("notes.txt"), 1u);
  EXPECT_EQ(info.at("notes.txt"), (PutBack{"Users/ann/", "notes.txt"}));
  EXPECT_TRUE(TrashModel::putBackInfo(home.folder("Other Trash"), {"notes.txt"}).empty());
}

TEST(FinderPutBackInfo, ADsStoreThatIsNotAFileGivesNothing) {
  FakeHome home;
  const std::string trash = home.folder(".Trash");
  ASSERT_EQ(::mkfifo((trash + "/.DS_Store").c_str(), 0600), 0);  // would block a plain read
  EXPECT_TRUE(TrashModel::putBackInfo(trash, {"x"}).empty());
}

}  // namespace tw::test
