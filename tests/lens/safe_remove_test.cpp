#include <gtest/gtest.h>
#include <unistd.h>

#include <atomic>
#include <cstdio>
#include <functional>
#include <thread>
#include <utility>

#include "fs/anchored_remove.h"
#include "fs/folder_walk.h"
#include "fs/path.h"
#include "fs/tree_remover.h"
#include "lens/disk_scanner.h"
#include "lens/lens_fixtures.h"
#include "support/fake_home.h"

namespace tw::test {
namespace {

// An outside folder whose content must survive every removal below.
struct Precious {
  std::string root = makeTempFolder("tw-precious");
  Precious() {
    writeFilledFile(root + "/keep.txt", 1000);
    writeFilledFile(root + "/inner/keep-too.txt", 1000);
  }
  ~Precious() { removeTree(root); }
  [[nodiscard]] bool intact() const { return exists(root + "/keep.txt") && exists(root + "/inner/keep-too.txt"); }
};

TEST(GuardedRemove, RefusesTheHomeFolderWhatIsDirectlyInItAndPathsThatClimbOutOrLeaveIt) {
  FakeHome home;
  Precious outside;
  home.file("top/file", 10);
  home.file("loose", 10);
  home.file("a/b/file", 10);
  for (const std::string& path :
       {home.path(), home.path() + "/", home / "top", home / "top/", home / "loose", home / "a/b/../..",
        home / "a/../a", home / "a/./b/..", home / "a/b/../../.." + outside.root, outside.root + "/inner",
        home.path() + "-sibling/a/b"}) {
    EXPECT_FALSE(DiskScanner::remove(path, home.path())) << path;
  }
  for (const char* kept : {"top/file", "loose", "a/b/file"}) EXPECT_TRUE(exists(home / kept)) << kept;
  EXPECT_TRUE(outside.intact());
}

TEST(GuardedRemove, DeletesTreesFilesAndLinksTwoLevelsDownButNeverALinksTarget) {
  FakeHome home;
  Precious outside;
  makeVariedTree(home / "projects/build", 3);
  home.file("projects/keep", 10);
  home.folder("links/tree/inner");
  ASSERT_EQ(::symlink(outside.root.c_str(), (home / "links/outside").c_str()), 0);
  ASSERT_EQ(::symlink(outside.root.c_str(), (home / "links/tree/inner/escape").c_str()), 0);

  EXPECT_TRUE(DiskScanner::remove(home / "projects/build", home.path()));
  EXPECT_FALSE(exists(home / "projects/build"));
  EXPECT_TRUE(exists(home / "projects/keep"));
  EXPECT_TRUE(DiskScanner::remove(home / "projects/build", home.path())) << "already gone counts as done";
  for (const char* path : {"projects/keep", "links/outside", "links/tree"}) {
    EXPECT_TRUE(DiskScanner::remove(home / path, home.path())) << path;
    EXPECT_FALSE(exists(home / path)) << path;
  }
  EXPECT_TRUE(outside.intact());
}

TEST(SafeRemoval, NeverCrossesIntoAnotherFileSystem) {
  FakeHome home;
  home.file("work/cache/own", 100);
  ScratchVolume volume("tmpfs", home.folder("work/cache/mounted"));
  if (!volume.ready()) GTEST_SKIP() << volume.reason();
  writeFile(volume.path() + "/on-the-other-volume", "stay");
  EXPECT_EQ(removeBeneath(home.path(), home / "work/cache").error, std::make_error_code(std::errc::cross_device_link));
  EXPECT_TRUE(exists(volume.path() + "/on-the-other-volume"));
  EXPECT_FALSE(exists(home / "work/cache/own")) << "what is on the starting device still goes";
}

// Removes ~/doomed and, once that folder is listed and before the walk reaches its
// subfolders, lets `swap` replace one of them.
std::error_code removeDoomedSwapping(const FakeHome& home, const std::function<void()>& swap) {
  struct SwappingRemover : TreeRemover {
    std::function<void()> swap;
    void visit(int folderFd, const FileIdentity& folder, std::vector<Subfolder>& subfolders) override {
      TreeRemover::visit(folderFd, folder, subfolders);
      if (swap) std::exchange(swap, nullptr)();
    }
  } remover;
  remover.swap = swap;
  const UniqueFd start = openFolder(home / "doomed");
  EXPECT_TRUE(start && walkFolders(start.get(), remover, {.stayOnDevice = true}));
  return remover.error();
}

TEST(SafeRemoval, AFolderSwappedMidwayIsNeverEmptiedThroughItsNewName) {
  Precious outside;
  for (const bool forALink : {true, false}) {
    SCOPED_TRACE(forALink ? "swapped for a link" : "swapped for another folder");
    FakeHome home;
    home.file("doomed/victim/file", 10);
    home.file("doomed/other/file", 10);
    const std::string impostor = home.file("elsewhere/impostor/precious", 10);
    const std::string parked = home.folder("parked") + "/victim", victim = home / "doomed/victim";
    const auto error = removeDoomedSwapping(home, [&] {
      ASSERT_EQ(std::rename(victim.c_str(), parked.c_str()), 0);
      ASSERT_EQ(forALink ? ::symlink(outside.root.c_str(), victim.c_str())
                         : std::rename(parentPath(impostor).c_str(), victim.c_str()),
                0);
    });
    // A link is removed as a link; a folder that was not listed is not emptied.
    EXPECT_EQ(error, forALink ? std::error_code() : std::make_error_code(static_cast<std::errc>(ESTALE)));
    EXPECT_EQ(exists(victim + "/precious"), !forALink);
    EXPECT_EQ(exists(victim), !forALink);
    EXPECT_TRUE(exists(parked + "/file")) << "the moved folder is no longer part of the tree";
    EXPECT_FALSE(exists(home / "doomed/other"));
  }
  EXPECT_TRUE(outside.intact());
}

TEST(SafeRemoval, RacingSwapsNeverReachOutsideTheTree) {
  FakeHome home;
  Precious outside;
  for (int i = 0; i < 200; ++i) {
    home.file("race/d" + std::to_string(i) + "/a", 10);
    home.file("race/d" + std::to_string(i) + "/b/c", 10);
  }
  const std::string parked = home.folder("parked");
  std::atomic<bool> done{false};
  std::thread racer([&] {
    for (int round = 0; !done.load(); round = (round + 1) % 200) {
      const std::string victim = home / ("race/d" + std::to_string(round));
      if (std::rename(victim.c_str(), (parked + "/" + std::to_string(round)).c_str()) == 0) {
        (void)::symlink(outside.root.c_str(), victim.c_str());
      }
    }
  });
  (void)removeBeneath(home.path(), home / "race");  // the racer may make parts fail; only what survives matters
  done = true;
  racer.join();
  EXPECT_TRUE(outside.intact());
}

TEST(SafeRemoval, ReportsWhatItCouldNotDeleteAndDeletesTheRest) {
  FakeHome home;
  home.file("stuck/inner/file", 10);
  home.file("stuck/loose", 10);
  ASSERT_EQ(::chmod(home.path().c_str(), 0755), 0);
  // Root deletes from read-only folders; hand the tree to someone who cannot.
  if (::geteuid() == 0) {
    ASSERT_EQ(runProcess({"chown", "-R", "65534:65534", home / "stuck"}).code, 0);
  }
  ASSERT_EQ(::chmod((home / "stuck/inner").c_str(), 0555), 0);
  EXPECT_EQ(withPermissionsApplied([&] { return removeBeneath(home.path(), home / "stuck").error.value(); }), EACCES);
  EXPECT_TRUE(exists(home / "stuck/inner/file"));
  EXPECT_FALSE(exists(home / "stuck/loose"));
}

}  // namespace
}  // namespace tw::test
