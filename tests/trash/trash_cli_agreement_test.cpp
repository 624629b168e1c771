// The model must read what trash-cli (the freedesktop reference client) writes, and what
// it puts back must land where trash-list says the item came from.
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "trash/trash_fixture.h"
#include "trash/trash_model.h"

namespace tw::test {
namespace {

// Every trash-list line must be one model item with the same origin and deletion time.
void expectSameAsTrashList(const std::vector<TrashItem>& items, const std::vector<TrashListLine>& listed) {
  for (const auto& line : listed) {
    const auto match = std::find_if(items.begin(), items.end(), [&](const TrashItem& item) {
      return item.origin == line.origin && item.trashed && localTimestamp(*item.trashed, ' ') == line.deleted;
    });
    EXPECT_NE(match, items.end()) << "trash-list shows " << line.deleted << " " << line.origin;
  }
}

std::vector<TrashItem> itemsWithOriginUnder(const std::vector<TrashItem>& items, const std::string& folder) {
  std::vector<TrashItem> kept;
  for (const auto& item : items) {
    if (item.origin && item.origin->starts_with(folder + "/")) kept.push_back(item);
  }
  return kept;
}

}  // namespace

TEST(TrashCliAgreement, WhatTrashPutTrashedShowsWithTheSameOriginAndDate) {
  FakeHome home;
  const std::string first = home.file("Desktop/notes.txt", 1200);
  const std::string clash = home.file("Documents/notes.txt", 3400);
  const std::string accented = home.file("Documents/Résumé final (v2)%.pdf", 10);
  const std::string folder = home.folder("Projects/old-build");
  writeFilledFile(folder + "/obj/main.o", 40'000);
  trashPut({first, clash, accented, folder});
  const auto listed = trashList(home.path());
  ASSERT_EQ(listed.size(), 4u);
  QueueDispatcher queue;
  TrashModel model(queue.dispatcher(), trashesUnder(home.path()));

  model.load();
  settle(model, queue);

  const auto mine = itemsWithOriginUnder(model.items(), home.path());
  EXPECT_EQ(mine.size(), 4u);
  expectSameAsTrashList(mine, listed);
  const auto notes = std::count_if(mine.begin(), mine.end(),
                                   [](const TrashItem& item) { return item.origin->ends_with("/notes.txt"); });
  EXPECT_EQ(notes, 2);
  const auto build =
      std::find_if(mine.begin(), mine.end(), [&](const TrashItem& item) { return item.origin == folder; });
  ASSERT_NE(build, mine.end());
  EXPECT_TRUE(build->isDir);
  EXPECT_GE(build->size.value_or(0), 40'000);
}

TEST(TrashCliAgreement, AnItemPutBackLandsWhereTrashListSaidItCameFrom) {
  FakeHome home;
  const std::string original = home.file("Music/live/set list.txt", 500);
  trashPut({original});
  const auto listed = trashList(home.path());
  ASSERT_EQ(listed.size(), 1u);
  QueueDispatcher queue;
  TrashModel model(queue.dispatcher(), trashesUnder(home.path()));
  model.load();
  settle(model, queue);
  ASSERT_EQ(model.items().size(), 1u);

  bool done = false;
  model.putBack(model.items(), [&] { done = true; });
  ASSERT_TRUE(queue.runUntil([&] { return done; }, std::chrono::seconds{30}));

  EXPECT_TRUE(exists(listed[0].origin));
  EXPECT_EQ(readFile(listed[0].origin).size(), 500u);
  EXPECT_TRUE(trashList(home.path()).empty());
}

TEST(TrashCliAgreement, ItemsOnASecondFileSystemUseThatVolumesTrash) {
  FakeHome home;
  const std::string volume = home.folder("mnt/usb");
  PrivateTmpfs tmpfs(volume);
  if (!tmpfs.mounted()) GTEST_SKIP() << tmpfs.reason();
  const std::string original = volume + "/photos/beach day.jpg";
  writeFilledFile(original, 8000);
  trashPut({original});
  ASSERT_TRUE(exists(volume + "/.Trash-" + std::to_string(::getuid()) + "/files"));
  const auto listed = trashList(volume);
  ASSERT_EQ(listed.size(), 1u);
  QueueDispatcher queue;
  TrashModel model(queue.dispatcher(), trashesUnder(home.path()));

  model.load();
  settle(model, queue);

  const auto onVolume = itemsWithOriginUnder(model.items(), volume);
  ASSERT_EQ(onVolume.size(), 1u);
  expectSameAsTrashList(onVolume, listed);
  EXPECT_TRUE(onVolume[0].path.starts_with(volume + "/.Trash-"));
  EXPECT_TRUE(TrashModel::isInTrash(onVolume[0].path));

  // The command line keeps to the home Trash, so `trash empty` never reaches into a disk.
  const auto cli = runTidewarden({"trash", "--json"});
  ASSERT_EQ(cli.code, 0) << cli.err;
  EXPECT_EQ(nlohmann::json::parse(cli.out).at("count"), 0);

  bool done = false;
  model.putBack(onVolume, [&] { done = true; });
  ASSERT_TRUE(queue.runUntil([&] { return done; }, std::chrono::seconds{30}));
  EXPECT_EQ(model.message(), "Put back 1 item.");
  EXPECT_TRUE(exists(original));
  EXPECT_TRUE(trashList(volume).empty());
}

}  // namespace tw::test
