#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "lens/disk_scanner.h"
#include "lens/lens_fixtures.h"
#include "lens/safe_remove.h"
#include "support/fake_home.h"

namespace tw::test {
namespace {

std::int64_t blocksOf(const std::string& path) {
  struct stat info {};
  EXPECT_EQ(::lstat(path.c_str(), &info), 0) << path;
  return static_cast<std::int64_t>(info.st_blocks) * 512;
}

TEST(DiskUsage, SizeOfATreeMatchesFindCountingEveryName) {
  FakeHome home;
  const std::string root = home / "tree";
  makeVariedTree(root, 7);
  const auto expected = findTotals(root);
  ASSERT_GT(expected.everyName, expected.eachInodeOnce) << "the tree has hard links";
  EXPECT_EQ(DiskScanner::size(root), expected.everyName);
  EXPECT_EQ(DiskScanner::usage(root).first, expected.everyName);
}

TEST(DiskUsage, HardLinkedFilesAreNeverFreeable) {
  FakeHome home;
  const std::string single = home.file("tree/single", 200'000);
  const std::string shared = home.file("tree/a/shared", 300'000);
  ASSERT_EQ(::link(shared.c_str(), (home / "tree/shared-again").c_str()), 0);
  const auto [size, freeable] = DiskScanner::usage(home / "tree");
  EXPECT_EQ(size, blocksOf(single) + 2 * blocksOf(shared));
  EXPECT_EQ(freeable, blocksOf(single));

  EXPECT_EQ(DiskScanner::usage(shared), std::make_pair(blocksOf(shared), std::int64_t{0}));
  EXPECT_EQ(DiskScanner::usage(single), std::make_pair(blocksOf(single), blocksOf(single)));
}

TEST(DiskUsage, LinksAreMeasuredNotFollowed) {
  FakeHome home;
  home.file("outside/big", 2 * 1024 * 1024);
  home.file("tree/own", 5000);
  ASSERT_EQ(::symlink((home / "outside").c_str(), (home / "tree/to-outside").c_str()), 0);
  ASSERT_EQ(::symlink((home / "outside").c_str(), (home / "folder-link").c_str()), 0);
  EXPECT_EQ(DiskScanner::size(home / "tree"), blocksOf(home / "tree/own") + blocksOf(home / "tree/to-outside"));
  EXPECT_EQ(DiskScanner::size(home / "folder-link"), blocksOf(home / "folder-link"));
  EXPECT_EQ(DiskScanner::usage(home / "missing"), std::make_pair(std::int64_t{0}, std::int64_t{0}));
}

TEST(DiskUsage, UnreadableFoldersCountAsEmpty) {
  FakeHome home;
  home.file("tree/visible", 50'000);
  home.file("tree/locked/hidden", 50'000);
  ASSERT_EQ(::chmod(home.path().c_str(), 0755), 0);
  ASSERT_EQ(::chmod((home / "tree/locked").c_str(), 0), 0);
  const auto measure = [&] { return DiskScanner::size(home / "tree"); };
  // Root reads every folder, so measure as someone the permissions apply to.
  const std::optional<std::int64_t> size = permissionsAreIgnored() ? asNobody(measure) : measure();
  ASSERT_TRUE(size.has_value());
  EXPECT_EQ(*size, blocksOf(home / "tree/visible"));
}

TEST(DiskUsage, WalksTenThousandNestedFoldersWithoutRunningOutOfStackOrDescriptors) {
  FakeHome home;
  const std::string root = home / "deep";
  makeDeepChain(root, 10'000, "nested-level", 100'000);
  const std::int64_t size = DiskScanner::size(root);
  EXPECT_GE(size, 100'000);
  EXPECT_LE(size, 100'000 + 65'536) << "only the one file at the bottom is counted";
  EXPECT_EQ(DiskScanner::usage(root), std::make_pair(size, size));

  // The same tree comes apart again, which also cleans up what the fake home's own removal
  // (path based) could not reach.
  EXPECT_FALSE(removeTreeSafely(root));
  EXPECT_FALSE(exists(root));
}

TEST(DiskUsage, NeverWalksIntoKernelFileSystems) {
  // /proc is huge and mostly empty files; a walk that entered it would count processes.
  FakeHome home;
  EXPECT_EQ(DiskScanner::size("/proc"), 0);
  if (::geteuid() != 0) GTEST_SKIP() << "binding /proc into a folder needs root";
  const std::string mountPoint = home.folder("tree/proc-view");
  home.file("tree/real", 70'000);
  const auto mounted = runProcess({"mount", "-t", "proc", "proc", mountPoint});
  if (mounted.code != 0) GTEST_SKIP() << "cannot mount proc here: " << mounted.err;
  const std::int64_t size = DiskScanner::size(home / "tree");
  (void)runProcess({"umount", mountPoint});
  EXPECT_EQ(size, blocksOf(home / "tree/real"));
}

}  // namespace
}  // namespace tw::test
