#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <thread>
#include <tuple>

#include "fs/anchored_remove.h"
#include "lens/disk_scanner.h"
#include "lens/lens_fixtures.h"
#include "support/fake_home.h"
#include "support/loop_volume.h"

namespace tw::test {
namespace {

// What every finished tree must satisfy, checked on every node.
void expectConsistent(const FSNode& node) {
  std::int64_t childBytes = 0;
  for (std::size_t i = 0; i < node.children.size(); ++i) {
    const FSNode& child = *node.children[i];
    EXPECT_EQ(child.parent, &node);
    EXPECT_GE(child.size, kMiB) << child.path() << " should have been folded";
    EXPECT_TRUE(i == 0 || node.children[i - 1]->size >= child.size) << "children are sorted largest first";
    EXPECT_TRUE(child.isDir || (child.itemCount == 1 && child.children.empty())) << child.path();
    childBytes += child.size;
    expectConsistent(child);
  }
  if (node.isDir) {
    EXPECT_EQ(node.size, childBytes + node.smallBytes) << node.path();
  }
  EXPECT_LE(node.freeable, node.size) << node.path();
}

// What a finished node shows: size, items, small items, small bytes and children kept.
using Figures = std::tuple<std::int64_t, std::int64_t, std::int64_t, std::int64_t, std::size_t>;
Figures figures(const FSNode& node) {
  return {node.size, node.itemCount, node.smallCount, node.smallBytes, node.children.size()};
}

std::unique_ptr<FSNode> scan(const std::string& path, std::set<std::string> skip = {}) {
  return DiskScanner(std::move(skip)).scan(path);
}

TEST(DiskScan, TotalsMatchFindAndDuWithEachHardLinkedFileOnceAndProgressOnlyGrows) {
  FakeHome home;
  const std::string root = home / "tree";
  makeVariedTree(root + "/one", 11);
  makeVariedTree(root + "/two", 12);
  const auto expected = findTotals(root);
  ASSERT_GT(expected.everyName, expected.eachInodeOnce) << "the tree has hard links";

  DiskScanner scanner;
  std::atomic<bool> done{false};
  bool shrank = false;
  std::thread watcher([&] {
    std::int64_t lastItems = 0, lastBytes = 0;
    while (!done.load()) {
      const std::int64_t items = scanner.items(), bytes = scanner.bytes();
      const std::string current = scanner.current();
      shrank = shrank || items < lastItems || bytes < lastBytes || !(current.empty() || current.starts_with(root));
      lastItems = items;
      lastBytes = bytes;
    }
  });
  const auto tree = scanner.scan(root);
  done = true;
  watcher.join();
  EXPECT_FALSE(shrank) << "progress only grows and names folders of the scan";
  EXPECT_TRUE(scanner.current().starts_with(root));
  EXPECT_EQ(tree->path(), root);
  EXPECT_EQ(tree->size, expected.eachInodeOnce);
  EXPECT_EQ(tree->itemCount, expected.entries);
  EXPECT_EQ(tree->freeable, tree->size) << "nothing on this file system shares blocks";
  EXPECT_EQ(scanner.items(), expected.entries);
  EXPECT_EQ(scanner.bytes(), expected.eachInodeOnce);
  EXPECT_FALSE(tree->children.empty());
  expectConsistent(*tree);
  // du also counts the folders' own blocks, which the scan leaves out.
  const auto du = runProcess({"du", "-s", "-B1", root});
  ASSERT_EQ(du.code, 0) << du.err;
  EXPECT_EQ(tree->size + expected.folderBytes + blocksOf(root), std::stoll(du.out));
  // Measuring a path counts every name, and measures links (the tree has some) as links.
  EXPECT_EQ(DiskScanner::size(root), expected.everyName);
  EXPECT_EQ(DiskScanner::usage(root).first, expected.everyName);
  ASSERT_EQ(::symlink(root.c_str(), (home / "link").c_str()), 0);
  EXPECT_EQ(DiskScanner::size(home / "link"), blocksOf(home / "link"));
  EXPECT_EQ(DiskScanner::usage(home / "missing"), std::make_pair(std::int64_t{0}, std::int64_t{0}));
}

TEST(DiskScan, AFileLinkedFromThreeFoldersCountsOnceAndIsNeverFreeable) {
  FakeHome home;
  const std::string first = home.file("tree/a/shared", 2 * kMiB);
  ASSERT_EQ(::link(first.c_str(), home.folder("tree/b").append("/shared").c_str()), 0);
  ASSERT_EQ(::link(first.c_str(), home.folder("tree/c").append("/shared").c_str()), 0);
  const std::int64_t blocks = blocksOf(first);

  DiskScanner scanner;
  const auto tree = scanner.scan(home / "tree");
  EXPECT_EQ(scanner.bytes(), blocks);
  // Only the folder that counted the file is large enough to keep; the other two fold away
  // and their links add nothing.
  EXPECT_EQ(figures(*tree), Figures(blocks, 6, 2, 0, 1));
  const FSNode& holder = *tree->children.at(0);
  ASSERT_EQ(holder.children.size(), 1u);
  EXPECT_EQ(holder.children[0]->name, "shared");
  EXPECT_EQ(holder.children[0]->size, blocks);
  // Measuring counts every name, and deleting one name frees nothing.
  EXPECT_EQ(DiskScanner::usage(home / "tree"), std::make_pair(3 * blocks, std::int64_t{0}));
  EXPECT_EQ(DiskScanner::usage(first), std::make_pair(blocks, std::int64_t{0}));
}

TEST(DiskScan, SmallFilesFoldIntoCountersAndSmallFoldersIntoTheirParent) {
  FakeHome home;
  std::int64_t expected = 0;
  for (int i = 0; i < 10; ++i) expected += blocksOf(home.file("tree/small/f" + std::to_string(i), 10'000));
  const std::int64_t big = blocksOf(home.file("tree/big", 3 * kMiB));
  EXPECT_EQ(figures(*scan(home / "tree/small")), Figures(expected, 10, 10, expected, 0));
  const auto tree = scan(home / "tree");
  EXPECT_EQ(figures(*tree), Figures(big + expected, 12, 1, expected, 1)) << "the folder of small files is one item";
  EXPECT_EQ(tree->children[0]->name, "big");
  EXPECT_FALSE(tree->children[0]->isDir);
}

TEST(DiskScan, UnreadableFoldersAndRootsThatCannotBeListedCountAsEmpty) {
  FakeHome home;
  for (const auto& path : {home / "missing", home.file("plain-file", 5000)}) {
    const auto tree = scan(path);
    EXPECT_EQ(tree->name, path);
    EXPECT_EQ(figures(*tree), Figures()) << path;
  }
  const std::string visible = home.file("tree/visible", 50'000);
  home.file("tree/locked/hidden", 2 * kMiB);
  ASSERT_EQ(::chmod(home.path().c_str(), 0755), 0);
  ASSERT_EQ(::chmod((home / "tree/locked").c_str(), 0), 0);
  const auto lockedLooksEmpty = [&] { return std::int64_t{figures(*scan(home / "tree/locked")) == Figures()}; };
  EXPECT_EQ(withPermissionsApplied(lockedLooksEmpty), 1);
  EXPECT_EQ(withPermissionsApplied([&] { return DiskScanner::size(home / "tree"); }), blocksOf(visible));
}

TEST(DiskScan, SkipsExactlyTheGivenFoldersAndTheSystemOnesOnlyAtTheRoot) {
  EXPECT_EQ(DiskScanner::rootSkips(), (std::set<std::string>{"/proc", "/sys", "/dev", "/run", "/media", "/mnt"}));
  EXPECT_EQ(DiskScanner::skipsFor("/"), DiskScanner::rootSkips());
  EXPECT_TRUE(DiskScanner::skipsFor("/mnt").empty()) << "scanning a skipped folder directly enters it";
  EXPECT_TRUE(DiskScanner::skipsFor("/home").empty());

  FakeHome home;
  for (const char* folder : {"kept", "skipped", "kept/skipped", "proc", "mnt"}) {
    home.file("tree/" + std::string(folder) + "/big", 2 * kMiB);
  }
  auto skips = DiskScanner::rootSkips();
  skips.insert(home / "tree/skipped");
  const auto tree = scan(home / "tree", skips);
  // System folders are skipped by absolute path, so a scan of anything but "/" never meets
  // them; a folder named like a skipped one elsewhere is scanned.
  EXPECT_EQ(childNames(*tree), (std::set<std::string>{"kept", "proc", "mnt"}));
  EXPECT_EQ(childNames(*tree->children.at(0)), (std::set<std::string>{"big", "skipped"}));
  EXPECT_EQ(tree->itemCount, 9) << "the skipped folder counts as listed, its content does not";
}

TEST(DiskScan, NeverEntersKernelFileSystems) {
  // /proc is huge and mostly empty files; a walk that entered it would count processes.
  EXPECT_EQ(figures(*scan("/proc")), Figures()) << "/proc itself is not walked";
  EXPECT_EQ(DiskScanner::size("/proc"), 0);

  FakeHome home;
  const std::string real = home.file("tree/real", 2 * kMiB);
  const std::string mountPoint = home.folder("tree/kernel");
  if (::geteuid() != 0) GTEST_SKIP() << "mounting sysfs into a folder needs root";
  const auto mounted = runProcess({"mount", "-t", "sysfs", "sysfs", mountPoint});
  if (mounted.code != 0) GTEST_SKIP() << "cannot mount sysfs here: " << mounted.err;
  const auto tree = scan(home / "tree");
  const std::int64_t size = DiskScanner::size(home / "tree");
  (void)runProcess({"umount", mountPoint});
  EXPECT_EQ(figures(*tree), Figures(blocksOf(real), 2, 1, 0, 1)) << "the mount point is listed but not entered";
  EXPECT_EQ(size, blocksOf(real));
}

TEST(DiskScan, AScanThatStaysOnItsFileSystemLeavesMountedVolumesOut) {
  FakeHome home;
  const std::string real = home.file("tree/real", 2 * kMiB);
  std::string whyNot;
  const auto volume = LoopVolume::mount(LoopVolume::Kind::tmpfs, 64 * kMiB, whyNot, home.folder("tree/mounted"));
  if (!volume) GTEST_SKIP() << whyNot;
  writeFilledFile(volume->path() + "/inside", 3 * kMiB);

  EXPECT_EQ(scan(home / "tree")->size, blocksOf(real) + blocksOf(volume->path() + "/inside")) << "crossed by default";
  DiskScanner staying;
  staying.stayOnFileSystem();
  const auto tree = staying.scan(home / "tree");
  EXPECT_EQ(figures(*tree), Figures(blocksOf(real), 2, 1, 0, 1)) << "the mount point is listed but not entered";
}

TEST(DiskScan, ACancelledScanStillCompletes) {
  FakeHome home;
  for (int i = 0; i < 200; ++i)
    home.file("tree/d" + std::to_string(i / 5) + "/e" + std::to_string(i % 5) + "/f", 20'000);
  {
    DiskScanner scanner;
    scanner.cancel();
    EXPECT_EQ(figures(*scanner.scan(home / "tree")), Figures()) << "cancelled before it began: nothing is listed";
  }
  const std::int64_t full = scan(home / "tree")->itemCount;
  DiskScanner scanner;
  std::thread canceller([&] {
    while (scanner.items() == 0) std::this_thread::yield();
    scanner.cancel();
  });
  const auto tree = scanner.scan(home / "tree");
  canceller.join();
  EXPECT_TRUE(scanner.cancelled());
  EXPECT_GT(tree->itemCount, 0);
  EXPECT_LE(tree->itemCount, full);
  expectConsistent(*tree);
}

TEST(DiskScan, FoldersNestedBeyondThePathLimitAreScanned) {
  FakeHome home;
  const std::string root = home / "deep";
  constexpr int kDepth = 1500;  // about 16,000 characters of path
  makeDeepChain(root, kDepth, "level-name", 2 * kMiB);
  std::string chain;
  for (int level = 0; level < kDepth; ++level) chain += "/level-name";
  const auto tree = scan(root);
  EXPECT_GE(tree->size, 2 * kMiB);
  EXPECT_EQ(figures(*tree), Figures(tree->size, kDepth + 1, 0, 0, 1)) << "no level is small enough to fold";
  const FSNode* node = tree.get();
  int depth = 0;
  for (; !node->children.empty(); ++depth) node = node->children[0].get();
  EXPECT_EQ(depth, kDepth + 1) << "the chain leads to the large file at the bottom";
  EXPECT_EQ(node->path(), root + chain + "/bottom");
  EXPECT_FALSE(removeBeneath(home.path(), root).error);
}

TEST(DiskUsage, WalksTenThousandNestedFoldersWithoutRunningOutOfStackOrDescriptors) {
  FakeHome home;
  const std::string root = home / "deep";
  makeDeepChain(root, 10'000, "nested-level", 100'000);
  const std::int64_t size = DiskScanner::size(root);
  EXPECT_GE(size, 100'000);
  EXPECT_LE(size, 100'000 + 65'536) << "only the one file at the bottom is counted";
  EXPECT_EQ(DiskScanner::usage(root), std::make_pair(size, size)) << "a file with one name is all freeable";
  // The same tree comes apart again, which also cleans up what the fake home's own removal
  // (path based) could not reach.
  EXPECT_FALSE(removeBeneath(home.path(), root).error);
  EXPECT_FALSE(exists(root));
}

TEST(FSNodePaths, JoinNamesWithoutDoublingTheRootSlash) {
  for (const std::string rootName : {"/", "/home/me/src"}) {
    FSNode root(rootName, true, nullptr);
    auto* usr = root.children.emplace_back(std::make_unique<FSNode>("usr", true, &root)).get();
    auto* lib = usr->children.emplace_back(std::make_unique<FSNode>("lib", true, usr)).get();
    const std::string prefix = rootName == "/" ? "" : rootName;
    EXPECT_EQ(root.path(), rootName);
    EXPECT_EQ(usr->path(), prefix + "/usr");
    EXPECT_EQ(lib->path(), prefix + "/usr/lib");
    EXPECT_EQ(lib->ancestors(), (std::vector<const FSNode*>{&root, usr, lib}));
  }
}

}  // namespace
}  // namespace tw::test
