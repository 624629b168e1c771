// What the model puts back must land where trash-list (the freedesktop reference client)
// says the item came from. The listing itself is compared in the command's tests.
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "trash/trash_fixture.h"
#include "trash/trash_model.h"

namespace tw::test {

TEST(TrashCliAgreement, AnItemPutBackLandsWhereTrashListSaidItCameFrom) {
  FakeHome home;
  trashPut({home.file("Music/live/set list.txt", 500)});
  const auto listed = trashList(home.path());
  ASSERT_EQ(listed.size(), 1u);
  LoadedTrash trash(home);
  ASSERT_EQ(trash.model.items().size(), 1u);

  trash.perform([&](auto done) { trash.model.putBack(trash.model.items(), done); });

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

  LoadedTrash trash(home);

  ASSERT_EQ(trash.model.items().size(), 1u);
  const TrashItem item = trash.model.items()[0];
  EXPECT_EQ(item.origin, listed[0].origin);
  ASSERT_TRUE(item.trashed);
  EXPECT_EQ(localTimestamp(*item.trashed, ' '), listed[0].deleted);
  EXPECT_TRUE(item.path.starts_with(volume + "/.Trash-"));
  EXPECT_TRUE(TrashModel::isInTrash(item.path, home.context()));

  // The command line keeps to the home Trash, so `trash empty` never reaches into a disk.
  const auto cli = runTidewarden({"trash", "--json"});
  ASSERT_EQ(cli.code, 0) << cli.err;
  EXPECT_EQ(nlohmann::json::parse(cli.out).at("count"), 0);

  trash.perform([&](auto done) { trash.model.putBack({item}, done); });
  EXPECT_EQ(trash.model.message(), "Put back 1 item.");
  EXPECT_TRUE(exists(original));
  EXPECT_TRUE(trashList(volume).empty());
}

}  // namespace tw::test
