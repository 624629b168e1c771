#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "support/fake_home.h"
#include "trash/freedesktop_layout.h"

namespace tw::test {
namespace {

const unsigned uid = static_cast<unsigned>(::getuid());
const std::string user = std::to_string(uid);

std::vector<std::string> dirsOf(const std::vector<TrashDir>& dirs) {
  std::vector<std::string> paths;
  for (const auto& dir : dirs) paths.push_back(dir.dir);
  return paths;
}

}  // namespace

TEST(FreedesktopMounts, KernelFileSystemsNeverHoldATrash) {
  EXPECT_TRUE(FreedesktopLayout::isPseudoFileSystem("proc"));
  EXPECT_TRUE(FreedesktopLayout::isPseudoFileSystem("cgroup2"));
  EXPECT_FALSE(FreedesktopLayout::isPseudoFileSystem("tmpfs"));
  EXPECT_FALSE(FreedesktopLayout::isPseudoFileSystem("xfs"));
}

TEST(FreedesktopHomeTrash, FollowsXdgDataHomeUnlessItIsRelative) {
  EXPECT_EQ(FreedesktopLayout::dataHome("/home/ann", "/data/ann/"), "/data/ann");
  EXPECT_EQ(FreedesktopLayout::dataHome("/home/ann", "relative/share"), "/home/ann/.local/share");
  EXPECT_EQ(FreedesktopLayout::dataHome("/home/ann", nullptr), "/home/ann/.local/share");
}

TEST(FreedesktopTrashFolders, HomeTrashFirstThenEachVolumesOwnTrashes) {
  FakeHome home;
  const std::string data = home / ".local/share";
  const std::string diskA = home.folder("mnt/a");
  const std::string diskB = home.folder("mnt/b");
  makeFolders(diskA + "/.Trash-" + user + "/files");
  makeFolders(diskB + "/.Trash/" + user + "/files");
  ASSERT_EQ(::chmod((diskB + "/.Trash").c_str(), 01777), 0);

  const auto dirs = FreedesktopLayout::trashDirs(
      data, {{1, "/", "ext4"}, {2, diskA, "xfs"}, {3, diskB, "vfat"}, {2, diskA, "xfs"}}, uid);

  EXPECT_EQ(dirsOf(dirs), (std::vector<std::string>{data + "/Trash/files", diskA + "/.Trash-" + user + "/files",
                                                    diskB + "/.Trash/" + user + "/files"}));
  EXPECT_EQ(dirs[0].volumeRoot, "/");
  EXPECT_EQ(dirs[1].volumeRoot, diskA);
  EXPECT_EQ(dirs[2].volumeRoot, diskB);
}

TEST(FreedesktopTrashFolders, SharedTrashMustBeStickyAndNotALink) {
  FakeHome home;
  const std::string data = home / ".local/share";
  const std::string loose = home.folder("mnt/loose");
  makeFolders(loose + "/.Trash/" + user + "/files");
  ASSERT_EQ(::chmod((loose + "/.Trash").c_str(), 0777), 0);
  const std::string linked = home.folder("mnt/linked");
  const std::string elsewhere = home.folder("elsewhere/.Trash");
  makeFolders(elsewhere + "/" + user + "/files");
  ASSERT_EQ(::chmod(elsewhere.c_str(), 01777), 0);
  ASSERT_EQ(::symlink(elsewhere.c_str(), (linked + "/.Trash").c_str()), 0);

  const auto dirs = FreedesktopLayout::trashDirs(data, {{1, loose, "ext4"}, {2, linked, "ext4"}}, uid);

  EXPECT_EQ(dirsOf(dirs), std::vector<std::string>{data + "/Trash/files"});
}

TEST(FreedesktopTrashFolders, NeverListAnotherUsersTrashOrAPseudoFileSystem) {
  FakeHome home;
  const std::string data = home / ".local/share";
  const std::string disk = home.folder("mnt/disk");
  makeFolders(disk + "/.Trash-" + std::to_string(uid + 1) + "/files");
  const std::string proc = home.folder("mnt/proc");
  makeFolders(proc + "/.Trash-" + user + "/files");
  const std::string linked = home.folder("mnt/linked");
  ASSERT_EQ(::symlink((disk + "/.Trash-" + std::to_string(uid + 1)).c_str(), (linked + "/.Trash-" + user).c_str()), 0);

  const auto dirs =
      FreedesktopLayout::trashDirs(data, {{1, disk, "ext4"}, {2, proc, "proc"}, {3, linked, "ext4"}}, uid);

  EXPECT_EQ(dirsOf(dirs), std::vector<std::string>{data + "/Trash/files"});
}

TEST(FreedesktopTrashFolders, RelativeOriginsStartAtTheFolderHoldingTheTrash) {
  const std::string data = "/home/ann/.local/share";
  EXPECT_EQ(FreedesktopLayout::topDir({data + "/Trash/files", "/"}, data), data);
  EXPECT_EQ(FreedesktopLayout::topDir({"/media/usb/.Trash-1000/files", "/media/usb"}, data), "/media/usb");
  EXPECT_EQ(FreedesktopLayout::infoPath({"/media/usb/.Trash-1000/files", "/media/usb"}, "a b.txt"),
            "/media/usb/.Trash-1000/info/a b.txt.trashinfo");
}

}  // namespace tw::test
