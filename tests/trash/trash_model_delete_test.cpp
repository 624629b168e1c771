#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "core/format.h"
#include "core/history.h"
#include "core/shell.h"
#include "core/unique_fd.h"
#include "trash/trash_fixture.h"
#include "trash/trash_layout.h"
#include "trash/trash_model.h"
#include "trash/trash_removal.h"

namespace tw::test {
namespace {

void deleteAndSettle(TrashModel& model, QueueDispatcher& queue, std::vector<TrashItem> items) {
  bool completed = false;
  model.deleteItems(std::move(items), [&] { completed = true; });
  ASSERT_TRUE(queue.runUntil([&] { return completed; }, std::chrono::seconds{60}));
  settle(model, queue);
}

TrashItem pretend(const std::string& path) {
  TrashItem item;
  item.path = path;
  item.name = path.substr(path.rfind('/') + 1);
  return item;
}

bool setImmutable(const std::string& path) { return runProcess({"chattr", "+i", path}).code == 0; }

}  // namespace

TEST(TrashModelDelete, DeletesItemsForGoodWithTheirInfoFilesAndRecordsThem) {
  FakeHome home;
  placeInHomeTrash(home, "a.log", trashInfoText(home / "a.log", daysAgo(1)), 30'000);
  writeFilledFile(homeTrashFiles(home) + "/cache/deep/er/file", 20'000);
  writeFile(homeTrashInfo(home) + "/cache.trashinfo", trashInfoText(home / "cache", daysAgo(1)));
  placeInHomeTrash(home, "kept.txt", std::nullopt);
  QueueDispatcher queue;
  TrashModel model(queue.dispatcher(), trashesUnder(home.path()));
  model.load();
  settle(model, queue);
  std::vector<TrashItem> chosen{*itemNamed(model.items(), "a.log"), *itemNamed(model.items(), "cache")};
  const std::int64_t expected = chosen[0].freeable.value_or(0) + chosen[1].freeable.value_or(0);

  deleteAndSettle(model, queue, chosen);

  EXPECT_FALSE(exists(homeTrashFiles(home) + "/a.log"));
  EXPECT_FALSE(exists(homeTrashFiles(home) + "/cache"));
  EXPECT_FALSE(exists(homeTrashInfo(home) + "/a.log.trashinfo"));
  EXPECT_FALSE(exists(homeTrashInfo(home) + "/cache.trashinfo"));
  ASSERT_EQ(model.items().size(), 1u);
  EXPECT_EQ(model.items()[0].name, "kept.txt");
  EXPECT_EQ(model.message(), "Deleted 2 items, freed " + byteFormatter(expected) + ".");
  EXPECT_FALSE(model.busy());
  EXPECT_EQ(model.progress(), 2);
  EXPECT_EQ(model.progressTotal(), 2);
  const auto history = History::entries();
  ASSERT_EQ(history.size(), 2u);
  for (const auto& entry : history) {
    EXPECT_EQ(entry.category, "Trash");
    EXPECT_FALSE(entry.restore);
  }
}

TEST(TrashModelDelete, RefusesAnythingNotDirectlyInsideATrashFolder) {
  FakeHome home;
  const std::string outside = home.file("Documents/precious.txt", 100);
  writeFilledFile(homeTrashFiles(home) + "/folder/inner.txt", 100);
  const std::string nested = homeTrashFiles(home) + "/folder/inner.txt";
  QueueDispatcher queue;
  TrashModel model(queue.dispatcher(), trashesUnder(home.path()));
  model.load();
  settle(model, queue);

  deleteAndSettle(
      model, queue,
      {pretend(outside), pretend(nested), pretend(homeTrashFiles(home) + "/.."), pretend(homeTrashFiles(home) + "/."),
       pretend(homeTrashFiles(home) + "/"),
       pretend(homeTrashFiles(home) + "/folder/../../../../Documents/precious.txt"), pretend(homeTrashFiles(home))});

  EXPECT_TRUE(exists(outside));
  EXPECT_TRUE(exists(nested));
  EXPECT_TRUE(exists(homeTrashFiles(home)));
  EXPECT_EQ(model.message(), "Deleted 0 items, freed 0 bytes.");
  EXPECT_EQ(model.progressTotal(), 0);
  EXPECT_FALSE(TrashModel::isInTrash(outside));
  EXPECT_FALSE(TrashModel::isInTrash(nested));
  EXPECT_TRUE(TrashModel::isInTrash(homeTrashFiles(home) + "/folder"));
  EXPECT_TRUE(History::entries().empty());
}

TEST(TrashModelDelete, NeverFollowsALinkOutOfTheTrash) {
  FakeHome home;
  const std::string precious = home.file("Documents/precious.txt", 100);
  makeFolders(homeTrashFiles(home));
  ASSERT_EQ(::symlink(home.folder("Documents").c_str(), (homeTrashFiles(home) + "/docs-link").c_str()), 0);
  QueueDispatcher queue;
  TrashModel model(queue.dispatcher(), trashesUnder(home.path()));
  model.load();
  settle(model, queue);
  ASSERT_EQ(model.items().size(), 1u);

  deleteAndSettle(model, queue, model.items());

  EXPECT_TRUE(exists(precious));
  EXPECT_FALSE(exists(homeTrashFiles(home) + "/docs-link"));
}

TEST(TrashModelDelete, UnlocksImmutableItemsBeforeDeletingThem) {
  FakeHome home;
  const std::string locked = placeInHomeTrash(home, "locked.txt", std::nullopt, 100);
  writeFilledFile(homeTrashFiles(home) + "/tree/sub/frozen.bin", 100);
  if (!setImmutable(locked) || !setImmutable(homeTrashFiles(home) + "/tree/sub/frozen.bin")) {
    GTEST_SKIP() << "this file system or user cannot set the immutable flag";
  }
  QueueDispatcher queue;
  TrashModel model(queue.dispatcher(), trashesUnder(home.path()));
  model.load();
  settle(model, queue);

  deleteAndSettle(model, queue, model.items());

  EXPECT_FALSE(exists(locked));
  EXPECT_FALSE(exists(homeTrashFiles(home) + "/tree"));
  EXPECT_TRUE(model.needsAdmin().empty());
  EXPECT_EQ(model.message()->rfind("Deleted 2 items", 0), 0u) << *model.message();
}

TEST(TrashModelDelete, ItemsThatNeedMoreRightsAreCollectedForTheAdministrator) {
  FakeHome home;
  placeInHomeTrash(home, "mine.txt", std::nullopt, 100);
  writeFilledFile(homeTrashFiles(home) + "/roots/file", 100);
  giveToNobody(home.path());
  if (::getuid() == 0) {
    ASSERT_EQ(::lchown((homeTrashFiles(home) + "/roots").c_str(), 0, 0), 0);
  }
  ASSERT_EQ(::chmod((homeTrashFiles(home) + "/roots").c_str(), 0755), 0);

  const int outcome = asNobody([&] {
    QueueDispatcher queue;
    TrashModel model(queue.dispatcher(), trashesUnder(home.path()));
    model.load();
    if (!queue.runUntil([&] { return model.loaded() && !model.sizing(); }, std::chrono::seconds{30})) return 1;
    bool done = false;
    model.deleteItems(model.items(), [&] { done = true; });
    if (!queue.runUntil([&] { return done; }, std::chrono::seconds{30})) return 2;
    if (model.needsAdmin() != std::vector<std::string>{homeTrashFiles(home) + "/roots"}) return 3;
    if (model.message()->find("Deleted 1 item, freed ") != 0) return 4;
    if (model.message()->find(" 1 need administrator rights to delete.") == std::string::npos) return 5;
    return 0;
  });

  EXPECT_EQ(outcome, 0);
  EXPECT_FALSE(exists(homeTrashFiles(home) + "/mine.txt"));
  EXPECT_TRUE(exists(homeTrashFiles(home) + "/roots/file"));
}

TEST(TrashModelDelete, WithAdministratorRightsReportsWhatStillCouldNotBeRemoved) {
  if (Shell::which("pkexec")) GTEST_SKIP() << "pkexec is installed; this checks the message when it is missing";
  FakeHome home;
  writeFilledFile(homeTrashFiles(home) + "/roots/file", 100);
  giveToNobody(home.path());
  if (::getuid() == 0) {
    ASSERT_EQ(::lchown((homeTrashFiles(home) + "/roots").c_str(), 0, 0), 0);
  }

  const int outcome = asNobody([&] {
    QueueDispatcher queue;
    TrashModel model(queue.dispatcher(), trashesUnder(home.path()));
    model.load();
    if (!queue.runUntil([&] { return model.loaded() && !model.sizing(); }, std::chrono::seconds{30})) return 1;
    bool done = false;
    model.deleteItems(model.items(), [&] { done = true; });
    if (!queue.runUntil([&] { return done; }, std::chrono::seconds{30}) || model.needsAdmin().size() != 1) return 2;
    done = false;
    model.deleteWithAdmin([&] { done = true; });
    if (!queue.runUntil([&] { return done; }, std::chrono::seconds{30})) return 3;
    if (!model.needsAdmin().empty()) return 4;
    if (model.blocked() != std::vector<std::string>{homeTrashFiles(home) + "/roots"}) return 5;
    if (!model.message()->starts_with("Couldn't delete with administrator rights: ")) return 6;
    if (!model.message()->ends_with(" 1 is protected from deletion by other apps or in use.")) return 7;
    return model.busy() ? 8 : 0;
  });

  EXPECT_EQ(outcome, 0);
  EXPECT_TRUE(exists(homeTrashFiles(home) + "/roots/file"));
}

TEST(TrashAdminCommand, RemovesLockedItemsWithOddNamesAndTheirInfoFiles) {
  FakeHome home;
  const std::string odd = placeInHomeTrash(home, "it's a \"test\" $(rm -rf ~) `x`.txt", std::nullopt, 10);
  const std::string info = homeTrashInfo(home) + "/it's a \"test\" $(rm -rf ~) `x`.txt.trashinfo";
  writeFile(info, "[Trash Info]\nPath=/x\n");
  writeFilledFile(homeTrashFiles(home) + "/tree/frozen", 10);
  const bool locked = setImmutable(homeTrashFiles(home) + "/tree/frozen");
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
  EXPECT_TRUE(exists(home.path()));
}

TEST(TrashModelDelete, WithAdministratorRightsDoesNothingWhenNothingIsPending) {
  FakeHome home;
  placeInHomeTrash(home, "a.txt", std::nullopt);
  QueueDispatcher queue;
  TrashModel model(queue.dispatcher(), trashesUnder(home.path()));
  model.load();
  settle(model, queue);
  bool completed = false;

  model.deleteWithAdmin([&] { completed = true; });

  EXPECT_TRUE(completed);
  EXPECT_TRUE(exists(homeTrashFiles(home) + "/a.txt"));
  EXPECT_FALSE(model.busy());
}

TEST(TrashModelEmptyWithFinder, SaysInOneSentenceThatLinuxHasNoSuchThing) {
  FakeHome home;
  placeInHomeTrash(home, "a.txt", std::nullopt);
  QueueDispatcher queue;
  TrashModel model(queue.dispatcher(), trashesUnder(home.path()));
  model.load();
  settle(model, queue);
  bool completed = false;

  model.emptyWithFinder([&] { completed = true; });
  ASSERT_TRUE(queue.runUntil([&] { return completed; }, std::chrono::seconds{30}));

  ASSERT_TRUE(model.message());
  const std::string& message = *model.message();
  EXPECT_EQ(std::count(message.begin(), message.end(), '.'), 1) << message;
  EXPECT_TRUE(message.ends_with("."));
  EXPECT_TRUE(exists(homeTrashFiles(home) + "/a.txt"));
  EXPECT_TRUE(model.blocked().empty());
  EXPECT_EQ(model.items().size(), 1u);
}

}  // namespace tw::test
