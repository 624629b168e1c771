#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "core/format.h"
#include "core/history.h"
#include "core/shell.h"
#include "trash/trash_fixture.h"
#include "trash/trash_layout.h"
#include "trash/trash_model.h"

namespace tw::test {
namespace {

TrashItem pretend(const std::string& path) {
  TrashItem item;
  item.path = path;
  item.name = path.substr(path.rfind('/') + 1);
  return item;
}

}  // namespace

TEST(TrashModelDelete, DeletesItemsForGoodWithTheirInfoFilesAndRecordsThem) {
  FakeHome home;
  placeInHomeTrash(home, "a.log", trashInfoText(home / "a.log", daysAgo(1)), 30'000);
  writeFilledFile(homeTrashFiles(home) + "/cache/deep/er/file", 20'000);
  writeFile(homeTrashInfo(home) + "/cache.trashinfo", trashInfoText(home / "cache", daysAgo(1)));
  placeInHomeTrash(home, "kept.txt", std::nullopt);
  LoadedTrash trash(home);
  auto& model = trash.model;
  std::vector<TrashItem> chosen{*itemNamed(model.items(), "a.log"), *itemNamed(model.items(), "cache")};
  const std::int64_t expected = chosen[0].freeable.value_or(0) + chosen[1].freeable.value_or(0);

  trash.perform([&](auto done) { model.deleteItems(chosen, done); });

  for (const char* gone : {"files/a.log", "files/cache", "info/a.log.trashinfo", "info/cache.trashinfo"}) {
    EXPECT_FALSE(exists(home / ".local/share/Trash" + "/" + gone)) << gone;
  }
  ASSERT_EQ(model.items().size(), 1u);
  EXPECT_EQ(model.items()[0].name, "kept.txt");
  EXPECT_EQ(model.message(), "Deleted 2 items, freed " + byteFormatter(expected) + ".");
  EXPECT_EQ(model.progress(), 2);
  EXPECT_EQ(model.progressTotal(), 2);
  const auto history = home.context().history->entries();
  ASSERT_EQ(history.size(), 2u);
  for (const auto& entry : history) {
    EXPECT_EQ(entry.category, "Trash");
    EXPECT_FALSE(entry.restore);
  }

  // Nothing needed administrator rights, so asking for them does nothing at once.
  bool completed = false;
  model.deleteWithAdmin([&] { completed = true; });
  EXPECT_TRUE(completed);
  EXPECT_FALSE(model.busy());
  EXPECT_TRUE(exists(homeTrashFiles(home) + "/kept.txt"));
}

TEST(TrashModelDelete, RefusesAnythingNotDirectlyInsideATrashFolderAndNeverFollowsALink) {
  FakeHome home;
  const std::string outside = home.file("Documents/precious.txt", 100);
  const std::string files = homeTrashFiles(home);
  const std::string nested = files + "/folder/inner.txt";
  writeFilledFile(nested, 100);
  ASSERT_EQ(::symlink(home.folder("Documents").c_str(), (files + "/docs-link").c_str()), 0);
  LoadedTrash trash(home);
  const TrashItem link = *itemNamed(trash.model.items(), "docs-link");

  trash.perform([&](auto done) {
    trash.model.deleteItems(
        {pretend(outside), pretend(nested), pretend(files + "/.."), pretend(files + "/."), pretend(files + "/"),
         pretend(files + "/folder/../../../../Documents/precious.txt"), pretend(files), link},
        done);
  });

  EXPECT_TRUE(exists(outside));
  EXPECT_TRUE(exists(nested));
  EXPECT_FALSE(exists(files + "/docs-link"));
  EXPECT_EQ(trash.model.progressTotal(), 1);
  EXPECT_TRUE(trash.model.message()->starts_with("Deleted 1 item, freed ")) << *trash.model.message();
  EXPECT_FALSE(TrashModel::isInTrash(outside, home.context()));
  EXPECT_FALSE(TrashModel::isInTrash(nested, home.context()));
  EXPECT_TRUE(TrashModel::isInTrash(files + "/folder", home.context()));
  EXPECT_EQ(home.context().history->entries().size(), 1u);
}

// Root may delete anything, so the body runs as "nobody" with one item owned by root.
TEST(TrashModelDelete, ItemsThatNeedMoreRightsAreCollectedForTheAdministrator) {
  FakeHome home;
  placeInHomeTrash(home, "mine.txt", std::nullopt, 100);
  const std::string roots = homeTrashFiles(home) + "/roots";
  writeFilledFile(roots + "/file", 100);
  giveToNobody(home.path());
  if (::getuid() == 0) {
    ASSERT_EQ(::lchown(roots.c_str(), 0, 0), 0);
  }
  ASSERT_EQ(::chmod(roots.c_str(), 0755), 0);
  const bool canElevate = Shell::which("pkexec", home.context()).has_value();

  const int outcome = asNobody([&] {
    LoadedTrash trash(home);
    auto& model = trash.model;
    if (!model.loaded()) return 1;
    trash.perform([&](auto done) { model.deleteItems(model.items(), done); });
    if (model.needsAdmin() != std::vector<std::string>{roots}) return 2;
    if (!model.message()->starts_with("Deleted 1 item, freed ")) return 3;
    if (model.message()->find(" 1 need administrator rights to delete.") == std::string::npos) return 4;
    // Without pkexec the administrator's attempt fails too, and says what is left.
    if (canElevate) return 0;
    trash.perform([&](auto done) { model.deleteWithAdmin(done); });
    if (!model.needsAdmin().empty() || model.blocked() != std::vector<std::string>{roots}) return 5;
    if (!model.message()->starts_with("Couldn't delete with administrator rights: ")) return 6;
    if (!model.message()->ends_with(" 1 is protected from deletion by other apps or in use.")) return 7;
    return model.busy() ? 8 : 0;
  });

  EXPECT_EQ(outcome, 0);
  EXPECT_FALSE(exists(homeTrashFiles(home) + "/mine.txt"));
  EXPECT_TRUE(exists(roots + "/file"));
}

TEST(TrashAdminCommand, RemovesLockedItemsWithOddNamesAndTheirInfoFiles) {
  FakeHome home;
  const std::string odd = placeInHomeTrash(home, "it's a \"test\" $(rm -rf ~) `x`.txt", std::nullopt, 10);
  const std::string info = homeTrashInfo(home) + "/it's a \"test\" $(rm -rf ~) `x`.txt.trashinfo";
  writeFile(info, "[Trash Info]\nPath=/x\n");
  writeFilledFile(homeTrashFiles(home) + "/tree/frozen", 10);
  const bool locked = runProcess({"chattr", "+i", homeTrashFiles(home) + "/tree/frozen"}).code == 0;
  const std::string bystander = home.file("bystander.txt", 10);

  const std::string command = TrashLayout::adminRemoveCommand({odd, info, homeTrashFiles(home) + "/tree"});
  // What pkexec would run, run here directly: the command must stand on its own in sh.
  const auto result = runProcess({"/bin/sh", "-c", command});

  EXPECT_EQ(result.code, 0) << result.err;
  EXPECT_FALSE(exists(odd));
  EXPECT_FALSE(exists(info));
  if (locked) {
    EXPECT_FALSE(exists(homeTrashFiles(home) + "/tree"));
  }
  EXPECT_TRUE(exists(bystander));
}

}  // namespace tw::test
