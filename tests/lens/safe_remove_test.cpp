#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cstdio>
#include <functional>
#include <thread>

#include "lens/disk_scanner.h"
#include "lens/folder_walk.h"
#include "lens/lens_fixtures.h"
#include "lens/safe_remove.h"
#include "lens/tree_remover.h"
#include "support/fake_home.h"

namespace tw::test {
namespace {

bool isLink(const std::string& path) {
  struct stat info {};
  return ::lstat(path.c_str(), &info) == 0 && S_ISLNK(info.st_mode);
}

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

TEST(GuardedRemove, RefusesTheHomeFolderAndAnythingDirectlyInIt) {
  FakeHome home;
  home.file("top/file", 10);
  home.file("loose", 10);
  EXPECT_FALSE(DiskScanner::remove(home.path()));
  EXPECT_FALSE(DiskScanner::remove(home.path() + "/"));
  EXPECT_FALSE(DiskScanner::remove(home / "top"));
  EXPECT_FALSE(DiskScanner::remove(home / "top/"));
  EXPECT_FALSE(DiskScanner::remove(home / "loose"));
  EXPECT_TRUE(exists(home / "top/file"));
  EXPECT_TRUE(exists(home / "loose"));
}

TEST(GuardedRemove, RefusesPathsThatClimbOutOrLeaveTheHome) {
  FakeHome home;
  Precious outside;
  home.file("a/b/file", 10);
  EXPECT_FALSE(DiskScanner::remove(home / "a/b/../.."));
  EXPECT_FALSE(DiskScanner::remove(home / "a/../a"));
  EXPECT_FALSE(DiskScanner::remove(home / "a/./b/.."));
  EXPECT_FALSE(DiskScanner::remove(home / "a/b/../../.." + outside.root));
  EXPECT_FALSE(DiskScanner::remove(outside.root + "/inner"));
  EXPECT_FALSE(DiskScanner::remove(home.path() + "-sibling/a/b")) << "a folder merely starting with the home's name";
  EXPECT_TRUE(exists(home / "a/b/file"));
  EXPECT_TRUE(outside.intact());
}

TEST(GuardedRemove, DeletesATreeTwoLevelsDown) {
  FakeHome home;
  makeVariedTree(home / "projects/build", 3);
  home.file("projects/keep", 10);
  EXPECT_TRUE(DiskScanner::remove(home / "projects/build"));
  EXPECT_FALSE(exists(home / "projects/build"));
  EXPECT_TRUE(exists(home / "projects/keep"));
  EXPECT_TRUE(DiskScanner::remove(home / "projects/build")) << "already gone counts as done";
  EXPECT_TRUE(DiskScanner::remove(home / "projects/keep")) << "a single file";
  EXPECT_FALSE(exists(home / "projects/keep"));
}

TEST(GuardedRemove, ALinkToOutsideTheHomeGoesButNotItsTarget) {
  FakeHome home;
  Precious outside;
  home.folder("links");
  ASSERT_EQ(::symlink(outside.root.c_str(), (home / "links/outside").c_str()), 0);
  home.folder("links/tree/inner");
  ASSERT_EQ(::symlink(outside.root.c_str(), (home / "links/tree/inner/escape").c_str()), 0);

  ASSERT_TRUE(isLink(home / "links/outside"));
  EXPECT_TRUE(DiskScanner::remove(home / "links/outside"));
  EXPECT_FALSE(exists(home / "links/outside"));
  EXPECT_TRUE(DiskScanner::remove(home / "links/tree"));
  EXPECT_FALSE(exists(home / "links/tree"));
  EXPECT_TRUE(outside.intact());
}

TEST(SafeRemoval, NeverCrossesIntoAnotherFileSystem) {
  FakeHome home;
  home.file("work/cache/own", 100);
  ScratchVolume volume("tmpfs", home.folder("work/cache/mounted"));
  if (!volume.ready()) GTEST_SKIP() << volume.reason();
  writeFile(volume.path() + "/on-the-other-volume", "stay");

  const auto error = removeTreeSafely(home / "work/cache");
  EXPECT_EQ(error, std::make_error_code(std::errc::cross_device_link));
  EXPECT_TRUE(exists(volume.path() + "/on-the-other-volume"));
  EXPECT_FALSE(exists(home / "work/cache/own")) << "what is on the starting device still goes";
}

// Replaces one subfolder, after its parent was listed and before the walk reaches it.
class SwappingRemover : public TreeRemover {
 public:
  SwappingRemover(std::string victim, std::function<void(const std::string&)> swap)
      : victim_(std::move(victim)), swap_(std::move(swap)) {}
  void visit(int folderFd, const FileIdentity& folder, std::vector<Subfolder>& subfolders) override {
    TreeRemover::visit(folderFd, folder, subfolders);
    if (!swapped_) {
      swapped_ = true;
      swap_(victim_);
    }
  }

 private:
  std::string victim_;
  std::function<void(const std::string&)> swap_;
  bool swapped_ = false;
};

TEST(SafeRemoval, AFolderSwappedForALinkMidwayIsRemovedAsALink) {
  FakeHome home;
  Precious outside;
  home.file("doomed/victim/file", 10);
  home.file("doomed/other/file", 10);
  const std::string parked = home.folder("parked");
  SwappingRemover remover(home / "doomed/victim", [&](const std::string& victim) {
    ASSERT_EQ(std::rename(victim.c_str(), (parked + "/victim").c_str()), 0);
    ASSERT_EQ(::symlink(outside.root.c_str(), victim.c_str()), 0);
  });
  const UniqueFd start = openFolder(home / "doomed");
  ASSERT_TRUE(start);
  EXPECT_TRUE(walkFolders(start.get(), remover, {.stayOnDevice = true}));
  EXPECT_FALSE(remover.error());
  EXPECT_TRUE(outside.intact());
  EXPECT_FALSE(exists(home / "doomed/victim")) << "the link itself is removed";
  EXPECT_FALSE(exists(home / "doomed/other"));
  EXPECT_TRUE(exists(parked + "/victim/file")) << "the moved folder is no longer part of the tree";
}

TEST(SafeRemoval, AFolderSwappedForAnotherFolderMidwayIsLeftAlone) {
  FakeHome home;
  Precious outside;
  home.file("doomed/victim/file", 10);
  const std::string parked = home.folder("parked");
  const std::string impostor = home.file("elsewhere/impostor/precious", 10);
  SwappingRemover remover(home / "doomed/victim", [&](const std::string& victim) {
    ASSERT_EQ(std::rename(victim.c_str(), (parked + "/victim").c_str()), 0);
    ASSERT_EQ(std::rename((home / "elsewhere/impostor").c_str(), victim.c_str()), 0);
  });
  const UniqueFd start = openFolder(home / "doomed");
  ASSERT_TRUE(start);
  EXPECT_TRUE(walkFolders(start.get(), remover, {.stayOnDevice = true}));
  EXPECT_EQ(remover.error(), std::make_error_code(static_cast<std::errc>(ESTALE)));
  EXPECT_TRUE(exists(home / "doomed/victim/precious")) << "a folder that was not listed is not emptied";
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
  const auto error = removeTreeSafely(home / "race");
  done = true;
  racer.join();
  (void)error;  // the racer may make parts fail; only what survives matters
  EXPECT_TRUE(outside.intact());
}

TEST(SafeRemoval, RemovesFilesLinksAndMissingPaths) {
  FakeHome home;
  Precious outside;
  const std::string file = home.file("one/file", 10);
  EXPECT_FALSE(removeTreeSafely(file));
  EXPECT_FALSE(exists(file));
  EXPECT_FALSE(removeTreeSafely(home / "one/never-was"));
  ASSERT_EQ(::symlink(outside.root.c_str(), (home / "one/link").c_str()), 0);
  EXPECT_FALSE(removeTreeSafely(home / "one/link"));
  EXPECT_FALSE(exists(home / "one/link"));
  EXPECT_TRUE(outside.intact());
}

TEST(SafeRemoval, ReportsWhatItCouldNotDeleteAndDeletesTheRest) {
  FakeHome home;
  home.file("stuck/inner/file", 10);
  home.file("stuck/loose", 10);
  ASSERT_EQ(::chmod(home.path().c_str(), 0755), 0);
  if (permissionsAreIgnored()) {
    // Root deletes from read-only folders; hand the tree to someone who cannot.
    ASSERT_EQ(runProcess({"chown", "-R", "65534:65534", home / "stuck"}).code, 0);
  }
  ASSERT_EQ(::chmod((home / "stuck/inner").c_str(), 0555), 0);
  const auto remove = [&] { return static_cast<std::int64_t>(removeTreeSafely(home / "stuck").value()); };
  const std::optional<std::int64_t> error = permissionsAreIgnored() ? asNobody(remove) : remove();
  ASSERT_TRUE(error.has_value());
  EXPECT_EQ(*error, EACCES);
  EXPECT_TRUE(exists(home / "stuck/inner/file"));
  EXPECT_FALSE(exists(home / "stuck/loose"));
}

}  // namespace
}  // namespace tw::test
