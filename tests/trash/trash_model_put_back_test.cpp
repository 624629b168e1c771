#include <gtest/gtest.h>

#include "trash/put_back.h"
#include "trash/trash_fixture.h"
#include "trash/trash_model.h"

namespace tw::test {

TEST(TrashModelPutBack, MovesItemsHomeBesideWhatIsThereNowAndNamesThoseWithoutAnOrigin) {
  FakeHome home;
  placeInHomeTrash(home, "thesis.tex", trashInfoText(home / "Papers/2024/thesis.tex", daysAgo(1)));
  home.fileWithContents("Desktop/notes.txt", "new notes");
  home.fileWithContents("Desktop/notes 2.txt", "another");
  placeInHomeTrash(home, "notes.txt", trashInfoText(home / "Desktop/notes.txt", daysAgo(1)), 42);
  home.fileWithContents("Desktop/.bashrc", "current");
  placeInHomeTrash(home, ".bashrc", trashInfoText(home / "Desktop/.bashrc", daysAgo(1)), 7);
  placeInHomeTrash(home, "mystery.bin", std::nullopt);
  LoadedTrash trash(home);

  trash.perform([&](auto done) { trash.model.putBack(trash.model.items(), done); });

  EXPECT_TRUE(exists(home / "Papers/2024/thesis.tex"));
  EXPECT_FALSE(exists(homeTrashFiles(home) + "/thesis.tex"));
  EXPECT_FALSE(exists(homeTrashInfo(home) + "/thesis.tex.trashinfo"));
  EXPECT_EQ(readFile(home / "Desktop/notes.txt"), "new notes");
  EXPECT_EQ(readFile(home / "Desktop/notes 2.txt"), "another");
  EXPECT_EQ(readFile(home / "Desktop/notes 3.txt").size(), 42u);
  EXPECT_EQ(readFile(home / "Desktop/.bashrc"), "current");
  EXPECT_EQ(readFile(home / "Desktop/.bashrc 2").size(), 7u);
  ASSERT_EQ(trash.model.items().size(), 1u);
  EXPECT_EQ(trash.model.items()[0].name, "mystery.bin");
  EXPECT_EQ(trash.model.message(), "Couldn't restore: mystery.bin (no original location recorded). Put back 3 items.");
}

TEST(TrashModelPutBack, IgnoresItemsOutsideTheTrash) {
  FakeHome home;
  const std::string outside = home.file("Documents/a.txt", 10);
  TrashItem fake;
  fake.path = outside;
  fake.name = "a.txt";
  fake.origin = home / "Elsewhere/a.txt";

  const PutBackResult result = putBackItems({fake}, TrashModel::trashDirs(home.context()), home.context());

  EXPECT_TRUE(exists(outside));
  EXPECT_FALSE(exists(home / "Elsewhere/a.txt"));
  EXPECT_TRUE(result.restored.empty());
  EXPECT_TRUE(result.failures.empty());
}

TEST(TrashPutBackNames, FreeNamesKeepTheExtension) {
  EXPECT_EQ(alternativePath("/a/report.txt", 1), "/a/report.txt");
  EXPECT_EQ(alternativePath("/a/report.txt", 2), "/a/report 2.txt");
  EXPECT_EQ(alternativePath("/a/archive.tar.gz", 3), "/a/archive.tar 3.gz");
  EXPECT_EQ(alternativePath("/a/Makefile", 2), "/a/Makefile 2");
  EXPECT_EQ(alternativePath("/a/.profile", 2), "/a/.profile 2");
  EXPECT_EQ(alternativePath("/a/trailing.", 2), "/a/trailing. 2");
}

}  // namespace tw::test
