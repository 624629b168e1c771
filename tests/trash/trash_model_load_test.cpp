#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <map>
#include <thread>

#include <nlohmann/json.hpp>

#include "trash/trash_fixture.h"
#include "trash/trash_model.h"

namespace tw::test {

TEST(TrashModelLoad, ListsTheHomeTrashWithOriginsAndDatesButNotTheFindersOwnFiles) {
  FakeHome home;
  const Date deleted = daysAgo(3);
  placeInHomeTrash(home, "report.pdf", trashInfoText(home / "Documents/My%20Report.pdf", deleted), 4096);
  placeInHomeTrash(home, "orphan.bin", std::nullopt, 100);
  placeInHomeTrash(home, ".localized", std::nullopt, 0);
  placeInHomeTrash(home, ".DS_Store", std::nullopt, 10);
  placeInHomeTrash(home, ".hidden-but-mine", std::nullopt, 10);

  LoadedTrash trash(home);

  const auto& items = trash.model.items();
  ASSERT_EQ(items.size(), 3u);
  const TrashItem* report = itemNamed(items, "report.pdf");
  ASSERT_NE(report, nullptr);
  EXPECT_EQ(report->path, homeTrashFiles(home) + "/report.pdf");
  EXPECT_EQ(report->origin, home / "Documents/My Report.pdf");
  EXPECT_EQ(report->trashed, deleted);
  EXPECT_FALSE(report->isDir);
  EXPECT_GE(report->size.value_or(0), 4096);
  const TrashItem* orphan = itemNamed(items, "orphan.bin");
  ASSERT_NE(orphan, nullptr);
  EXPECT_FALSE(orphan->origin);
  EXPECT_TRUE(orphan->trashed) << "dated by its change time";
  ASSERT_NE(itemNamed(items, ".hidden-but-mine"), nullptr);
  EXPECT_FALSE(trash.model.denied());
  std::int64_t total = 0;
  for (const auto& item : items) total += item.size.value_or(0);
  EXPECT_EQ(trash.model.total(), total);
}

TEST(TrashModelLoad, MeasuresFoldersInTheBackgroundAndAnnouncesIt) {
  FakeHome home;
  const std::string folder = homeTrashFiles(home) + "/build";
  for (int i = 0; i < 5; ++i) writeFilledFile(folder + "/part" + std::to_string(i), 20'000);
  QueueDispatcher queue;
  TrashModel model(queue.dispatcher(), home.context(), trashesUnder(home));
  std::vector<TrashField> changes;
  const auto owner = std::this_thread::get_id();
  bool offThread = false;
  std::vector<std::size_t> sizedRows;
  model.observe([&](const TrashModel::Notice& change) {
    changes.push_back(change.field);
    if (change.field == TrashField::items) sizedRows.insert(sizedRows.end(), change.rows.begin(), change.rows.end());
    offThread = offThread || std::this_thread::get_id() != owner;
  });

  model.load();
  settle(model, queue);

  ASSERT_EQ(model.items().size(), 1u);
  const TrashItem& build = model.items()[0];
  EXPECT_TRUE(build.isDir);
  ASSERT_TRUE(build.size);
  EXPECT_GE(*build.size, 100'000);
  EXPECT_EQ(build.freeable, build.size);
  EXPECT_FALSE(offThread) << "observers must only be called on the owner's thread";
  // Published unsized first, then measured: sizing went on and off again.
  EXPECT_EQ(std::count(changes.begin(), changes.end(), TrashField::sizing), 2);
  EXPECT_LT(std::find(changes.begin(), changes.end(), TrashField::loaded) - changes.begin(),
            std::find(changes.begin(), changes.end(), TrashField::sizing) - changes.begin());
  EXPECT_EQ(sizedRows, std::vector<std::size_t>{0}) << "the measured size is announced for its row";
}

TEST(TrashModelLoad, SelectionKeepsOnlyPathsThatAreStillThere) {
  FakeHome home;
  const std::string kept = placeInHomeTrash(home, "kept.txt", std::nullopt);
  const std::string gone = placeInHomeTrash(home, "gone.txt", std::nullopt);
  LoadedTrash trash(home);
  trash.model.setSelection({kept, gone});
  ASSERT_EQ(trash.model.selectedItems().size(), 2u);

  ASSERT_EQ(::unlink(gone.c_str()), 0);
  trash.reload();

  EXPECT_EQ(trash.model.selection(), std::set<std::string>{kept});
  ASSERT_EQ(trash.model.selectedItems().size(), 1u);
  EXPECT_EQ(trash.model.selectedItems()[0].path, kept);
}

TEST(TrashModelLoad, ATrashNeverUsedIsEmptyButOneThatIsALinkIsDenied) {
  FakeHome home;
  LoadedTrash trash(home);
  EXPECT_TRUE(trash.model.loaded());
  EXPECT_FALSE(trash.model.denied());
  EXPECT_TRUE(trash.model.items().empty());

  // A link where the Trash should be is never followed, so the Trash cannot be read.
  const std::string elsewhere = home.folder("elsewhere");
  writeFile(elsewhere + "/secret.txt", "x");
  makeFolders(home / ".local/share/Trash");
  ASSERT_EQ(::symlink(elsewhere.c_str(), homeTrashFiles(home).c_str()), 0);
  trash.reload();

  EXPECT_TRUE(trash.model.denied());
  EXPECT_TRUE(trash.model.items().empty());
}

TEST(TrashModelLoad, DamagedInfoFilesLeaveOnlyWhatTheyCannotTell) {
  FakeHome home;
  const Date deleted = daysAgo(1);
  placeInHomeTrash(home, "no-path", "[Trash Info]\nDeletionDate=" + localTimestamp(deleted) + "\n");
  placeInHomeTrash(home, "bad-date", "[Trash Info]\nPath=/tmp/bad-date\nDeletionDate=last Tuesday\n");
  placeInHomeTrash(home, "bad-escape", "[Trash Info]\nPath=/tmp/50%\nDeletionDate=" + localTimestamp(deleted) + "\n");
  placeInHomeTrash(home, "relative", "[Trash Info]\nPath=Music/song.ogg\n");
  placeInHomeTrash(home, "binary", std::string("\0\xff\xfe[Trash Info]\n\x80", 17));

  LoadedTrash trash(home);

  const auto& items = trash.model.items();
  ASSERT_EQ(items.size(), 5u);
  EXPECT_FALSE(itemNamed(items, "no-path")->origin);
  EXPECT_EQ(itemNamed(items, "no-path")->trashed, deleted);
  EXPECT_EQ(itemNamed(items, "bad-date")->origin, "/tmp/bad-date");
  EXPECT_FALSE(itemNamed(items, "bad-date")->trashed);
  EXPECT_FALSE(itemNamed(items, "bad-escape")->origin);
  // The home Trash's relative paths start at the data folder that holds it.
  EXPECT_EQ(itemNamed(items, "relative")->origin, home / ".local/share/Music/song.ogg");
  EXPECT_FALSE(itemNamed(items, "binary")->origin);
}

TEST(TrashModelLoad, ResultsArrivingAfterTheModelIsGoneAreDropped) {
  FakeHome home;
  for (int i = 0; i < 20; ++i) writeFilledFile(homeTrashFiles(home) + "/dir" + std::to_string(i) + "/f", 10'000);
  QueueDispatcher queue;
  std::atomic<int> delivered{0};
  const Dispatcher counting = [&](std::function<void()> change) {
    queue.dispatcher()([&delivered, change = std::move(change)] {
      ++delivered;
      change();
    });
  };
  {
    TrashModel model(counting, home.context(), trashesUnder(home));
    model.load();
    ASSERT_TRUE(queue.runUntil([&] { return model.loaded(); }, std::chrono::seconds{30}));
    ASSERT_TRUE(model.sizing());
  }
  delivered = 0;
  // Measuring was still under way; what it hands back must find no model to touch (the
  // sanitizer build turns any such use into a failure).
  std::this_thread::sleep_for(std::chrono::milliseconds(500));
  queue.drain();
  EXPECT_GT(delivered.load(), 0);
}

}  // namespace tw::test

namespace tw::test {

TEST(TrashModelLoad, ATrashedFileWithAnotherNameFreesNothing) {
  FakeHome home;
  if (!isInstalled("trash-put")) GTEST_SKIP() << "trash-put (trash-cli) is not installed";
  const std::string kept = home.file("Documents/kept.bin", 64'000);
  ASSERT_EQ(::link(kept.c_str(), (home / "Documents/linked.bin").c_str()), 0);
  home.file("Documents/alone.bin", 64'000);
  trashPut({home / "Documents/linked.bin", home / "Documents/alone.bin"});

  const auto cli = runTidewarden({"trash", "--json"});

  ASSERT_EQ(cli.code, 0) << cli.err;
  std::map<std::string, std::pair<std::int64_t, std::int64_t>> sizes;  // name: size, freeable
  const auto listed = nlohmann::json::parse(cli.out);
  for (const auto& item : listed.at("items")) {
    sizes[item.at("name").get<std::string>()] = {item.at("size").get<std::int64_t>(),
                                                 item.at("freeable").get<std::int64_t>()};
  }
  ASSERT_EQ(sizes.size(), 2u) << cli.out;
  EXPECT_GT(sizes["linked.bin"].first, 0);
  EXPECT_EQ(sizes["linked.bin"].second, 0) << "kept.bin keeps its blocks";
  EXPECT_EQ(sizes["alone.bin"].second, sizes["alone.bin"].first);
}

}  // namespace tw::test
