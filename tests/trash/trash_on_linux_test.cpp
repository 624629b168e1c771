// The freedesktop Trash as other programs leave it: entries without a record, records
// without an entry, and emptying through GLib's gio.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <nlohmann/json.hpp>

#include "fs/stat_times.h"
#include "support/stand_in_tools.h"
#include "trash/trash_fixture.h"
#include "trash/trash_model.h"

namespace tw::test {
namespace {

Date changeTimeOf(const std::string& path) {
  struct stat info {};
  EXPECT_EQ(::lstat(path.c_str(), &info), 0) << path;
  return dateFromSeconds(changedNanoseconds(info) / 1'000'000'000);
}

bool olderThanAMonthAt(const TrashItem& item, Date now) {
  return visibleTrashItems({item}, TrashModel::Sort::date, "", true, now).size() == 1;
}

}  // namespace

TEST(TrashOnLinux, AnEntryWithoutARecordIsDatedByItsChangeTimeSoTheMonthFilterCanShowIt) {
  FakeHome home;
  const std::string dropped = placeInHomeTrash(home, "dropped.bin", std::nullopt, 100);
  const Date changed = changeTimeOf(dropped);

  LoadedTrash trash(home);

  const TrashItem* item = itemNamed(trash.model.items(), "dropped.bin");
  ASSERT_NE(item, nullptr);
  EXPECT_EQ(item->trashed, changed);
  EXPECT_FALSE(item->origin);
  EXPECT_FALSE(olderThanAMonthAt(*item, changed + std::chrono::hours{24 * 29}));
  EXPECT_TRUE(olderThanAMonthAt(*item, changed + std::chrono::hours{24 * 31}));
}

TEST(TrashOnLinux, RecordsOfEntriesDeletedElsewhereGoWhenTheTrashIsEmptied) {
  FakeHome home;
  if (!isInstalled("trash-put")) GTEST_SKIP() << "trash-put (trash-cli) is not installed";
  trashPut({home.file("Documents/gone.txt", 100), home.file("Documents/kept.txt", 100)});
  removeTree(homeTrashFiles(home) + "/gone.txt");  // another program deleted the entry
  ASSERT_TRUE(exists(homeTrashInfo(home) + "/gone.txt.trashinfo"));
  writeFile(home / "outside.trashinfo", "[Trash Info]\n");
  ASSERT_EQ(::symlink((home / "outside.trashinfo").c_str(), (homeTrashInfo(home) + "/linked.trashinfo").c_str()), 0);

  const RunResult emptied = runTidewarden({"trash", "empty", "--yes"});

  ASSERT_EQ(emptied.code, 0) << emptied.out << emptied.err;
  EXPECT_FALSE(exists(homeTrashFiles(home) + "/kept.txt"));
  EXPECT_FALSE(exists(homeTrashInfo(home) + "/kept.txt.trashinfo"));
  EXPECT_FALSE(exists(homeTrashInfo(home) + "/gone.txt.trashinfo")) << "the orphaned record goes too";
  EXPECT_EQ(readFile(home / "outside.trashinfo"), "[Trash Info]\n") << "a link is never followed";
}

TEST(TrashOnLinux, EmptyingThroughTheFileManagerAsksGio) {
  FakeHome home;
  if (!isInstalled("trash-put") || !isInstalled("trash-empty")) GTEST_SKIP() << "trash-cli is not installed";
  trashPut({home.file("Documents/a.txt", 100)});
  // A gio whose Trash service empties the Trash the freedesktop way.
  writeExecutable(home / ".local/bin/gio",
                  "#!/bin/sh\n[ \"$1 $2\" = 'trash --empty' ] && echo \"$@\" >> \"$0.calls\" && exec trash-empty\n"
                  "exit 64\n");
  LoadedTrash trash(home);

  trash.perform([&](auto done) { trash.model.emptyWithFinder(done); });

  EXPECT_EQ(trash.model.message(), "The file manager emptied the Trash.");
  EXPECT_EQ(readFile(home / ".local/bin/gio.calls"), "trash --empty\n");
  EXPECT_TRUE(trash.model.items().empty());
  EXPECT_TRUE(trash.model.blocked().empty());
}

TEST(TrashOnLinux, AGioWithoutATrashServiceLeavesTheItemsAndSaysSo) {
  FakeHome home;
  if (!isInstalled("gio")) GTEST_SKIP() << "gio (libglib2.0-bin) is not installed";
  placeInHomeTrash(home, "a.txt", std::nullopt);
  LoadedTrash trash(home);

  trash.perform([&](auto done) { trash.model.emptyWithFinder(done); });

  // Without a desktop session gio has no Trash service and empties nothing.
  if (trash.model.items().empty()) GTEST_SKIP() << "gio emptied the Trash here: a Trash service runs";
  EXPECT_EQ(trash.model.message(),
            "The file manager couldn't empty the Trash. Select the items and delete them here instead.");
  EXPECT_TRUE(exists(homeTrashFiles(home) + "/a.txt"));
  EXPECT_EQ(trash.model.blocked(), std::vector<std::string>{homeTrashFiles(home) + "/a.txt"});
}

}  // namespace tw::test
