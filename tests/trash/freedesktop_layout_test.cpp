#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "support/fake_home.h"
#include "trash/freedesktop_layout.h"

namespace tw::test {

// Only this user's Trashes count: `.Trash-UID`, or `.Trash/UID` inside a sticky `.Trash`
// that is not a link; never on a kernel file system, never twice for one device.
TEST(FreedesktopTrashFolders, HomeTrashFirstThenEachVolumesOwnTrashes) {
  FakeHome home;
  const unsigned uid = static_cast<unsigned>(::getuid());
  const std::string user = std::to_string(uid);
  const std::string data = home / ".local/share";
  const std::string diskA = home.folder("mnt/a");
  makeFolders(diskA + "/.Trash-" + user + "/files");
  const std::string diskB = home.folder("mnt/b");
  makeFolders(diskB + "/.Trash/" + user + "/files");
  ASSERT_EQ(::chmod((diskB + "/.Trash").c_str(), 01777), 0);
  const std::string loose = home.folder("mnt/loose");
  makeFolders(loose + "/.Trash/" + user + "/files");
  ASSERT_EQ(::chmod((loose + "/.Trash").c_str(), 0777), 0);
  const std::string linked = home.folder("mnt/linked");
  const std::string elsewhere = home.folder("elsewhere/.Trash");
  makeFolders(elsewhere + "/" + user + "/files");
  ASSERT_EQ(::chmod(elsewhere.c_str(), 01777), 0);
  ASSERT_EQ(::symlink(elsewhere.c_str(), (linked + "/.Trash").c_str()), 0);
  const std::string otherUser = home.folder("mnt/other");
  makeFolders(otherUser + "/.Trash-" + std::to_string(uid + 1) + "/files");
  ASSERT_EQ(::symlink((otherUser + "/.Trash-" + std::to_string(uid + 1)).c_str(), (linked + "/.Trash-" + user).c_str()),
            0);
  const std::string proc = home.folder("mnt/proc");
  makeFolders(proc + "/.Trash-" + user + "/files");
  const std::string cgroup = home.folder("mnt/cgroup");
  makeFolders(cgroup + "/.Trash-" + user + "/files");

  const auto dirs = FreedesktopLayout::trashDirs(data,
                                                 {{1, "/", "ext4"},
                                                  {2, diskA, "xfs"},
                                                  {3, diskB, "vfat"},
                                                  {2, diskA, "xfs"},
                                                  {4, loose, "ext4"},
                                                  {5, linked, "ext4"},
                                                  {6, otherUser, "ext4"},
                                                  {7, proc, "proc"},
                                                  {8, cgroup, "cgroup2"}},
                                                 uid);

  EXPECT_EQ(dirs, (std::vector<TrashDir>{{data + "/Trash/files", "/"},
                                         {diskA + "/.Trash-" + user + "/files", diskA},
                                         {diskB + "/.Trash/" + user + "/files", diskB}}));
}

TEST(FreedesktopTrashFolders, RelativeOriginsStartAtTheFolderHoldingTheTrash) {
  const std::string data = "/home/ann/.local/share";
  EXPECT_EQ(FreedesktopLayout::topDir({data + "/Trash/files", "/"}, data), data);
  EXPECT_EQ(FreedesktopLayout::topDir({"/media/usb/.Trash-1000/files", "/media/usb"}, data), "/media/usb");
  EXPECT_EQ(FreedesktopLayout::infoPath({"/media/usb/.Trash-1000/files", "/media/usb"}, "a b.txt"),
            "/media/usb/.Trash-1000/info/a b.txt.trashinfo");
}

}  // namespace tw::test
