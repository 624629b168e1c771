#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "support/fake_home.h"
#include "trash/ds_store_fixture.h"
#include "trash/finder_layout.h"
#include "trash/trash_model.h"

namespace tw::test {

TEST(FinderTrashOrigin, JoinsTheRecordedFolderAndFormerNameOntoTheVolume) {
  struct Case {
    PutBack record;
    std::string nameInTrash, volumeRoot;
    std::optional<std::string> origin;
  };
  const std::vector<Case> cases{
      {{"/Users/a/Desktop", std::nullopt}, "notes.txt", "/", "/Users/a/Desktop/notes.txt"},
      {{"Users/a/Desktop/", std::nullopt}, "notes.txt", "/", "/Users/a/Desktop/notes.txt"},
      {{"/Users/a/Desktop", std::nullopt}, "notes.txt", "/Volumes/X", "/Volumes/X/Users/a/Desktop/notes.txt"},
      {{"Users/a/Desktop/", std::nullopt}, "notes.txt", "/Volumes/X", "/Volumes/X/Users/a/Desktop/notes.txt"},
      // The Finder renames a clashing item in the Trash and records the old name.
      {{"Users/a/", "notes.txt"}, "notes 10.42.11.txt", "/", "/Users/a/notes.txt"},
      {{"", std::nullopt}, "top.txt", "/Volumes/X", "/Volumes/X/top.txt"},
      {{"///", std::nullopt}, "top.txt", "/", "/top.txt"},
      {{std::nullopt, "notes.txt"}, "notes.txt", "/", std::nullopt},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(FinderLayout::origin(c.record, c.nameInTrash, c.volumeRoot), c.origin)
        << c.record.location.value_or("(none)") << " + " << c.nameInTrash << " on " << c.volumeRoot;
  }
}

TEST(FinderTrashFolders, HomeTrashThenEachVolumesTrashOfThisUserOnly) {
  FakeHome home;
  const std::string volumes = home.folder("Volumes");
  const unsigned uid = static_cast<unsigned>(::getuid());
  makeFolders(volumes + "/Backup/.Trashes/" + std::to_string(uid));
  makeFolders(volumes + "/Shared/.Trashes/" + std::to_string(uid + 1));
  makeFolders(volumes + "/Empty Stick");

  EXPECT_EQ(FinderLayout::trashDirs(home.path(), volumes, uid),
            (std::vector<TrashDir>{{home / ".Trash", "/"},
                                   {volumes + "/Backup/.Trashes/" + std::to_string(uid), volumes + "/Backup"}}));
  EXPECT_EQ(FinderLayout::trashDirs(home.path(), home / "no-such-folder", 501),
            (std::vector<TrashDir>{{home / ".Trash", "/"}}));
}

TEST(FinderPutBackInfo, IsReadFromTheTrashFoldersDsStoreOnlyIfItIsAFile) {
  FakeHome home;
  const std::string trash = home.folder(".Trash");
  writeFile(trash + "/.DS_Store", DsStoreFixture().text("notes.txt", "ptbL", "Users/ann/").bytes());
  const std::string other = home.folder("Other Trash");
  ASSERT_EQ(::mkfifo((other + "/.DS_Store").c_str(), 0600), 0);  // would block a plain read

  const auto info = TrashModel::putBackInfo(trash, {"notes.txt"});

  EXPECT_EQ(info, (std::map<std::string, PutBack>{{"notes.txt", {"Users/ann/", std::nullopt}}}));
  EXPECT_TRUE(TrashModel::putBackInfo(other, {"notes.txt"}).empty());
  EXPECT_TRUE(TrashModel::putBackInfo(home.folder("No Store"), {"notes.txt"}).empty());
}

}  // namespace tw::test
