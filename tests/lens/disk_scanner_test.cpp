#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <thread>

#include "lens/disk_scanner.h"
#include "lens/lens_fixtures.h"
#include "lens/safe_remove.h"
#include "support/fake_home.h"

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

std::unique_ptr<FSNode> scan(const std::string& path, std::set<std::string> skip = {}) {
  return DiskScanner(std::move(skip)).scan(path);
}

TEST(DiskScan, TotalsMatchFindAndDuWithEachHardLinkedFileCountedOnce) {
  FakeHome home;
  const std::string root = home / "tree";
  makeVariedTree(root, 11);
  const auto expected = findTotals(root);
  ASSERT_GT(expected.everyName, expected.eachInodeOnce) << "the tree has hard links";

  DiskScanner scanner;
  const auto tree = scanner.scan(root);
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
  // Measuring a path counts every name.
  EXPECT_EQ(DiskScanner::size(root), expected.everyName);
  EXPECT_EQ(DiskScanner::usage(root).first, expected.everyName);
}

TEST(DiskScan, AFileLinkedFromThreeFoldersCountsOnceAndIsNeverFreeable) {
  FakeHome home;
  const std::string first = home.file("tree/a/shared", 2 * kMiB);
  ASSERT_EQ(::link(first.c_str(), home.folder("tree/b").append("/shared").c_str()), 0);
  ASSERT_EQ(::link(first.c_str(), home.folder("tree/c").append("/shared").c_str()), 0);
  const std::int64_t blocks = blocksOf(first);

  DiskScanner scanner;
  const auto tree = scanner.scan(home / "tree");
  EXPECT_EQ(tree->size, blocks);
  EXPECT_EQ(scanner.bytes(), blocks);
  ASSERT_EQ(tree->children.size(), 1u) << "only the folder that counted the file is large enough to keep";
  const FSNode& holder = *tree->children[0];
  ASSERT_EQ(holder.children.size(), 1u);
  EXPECT_EQ(holder.children[0]->name, "shared");
  EXPECT_EQ(holder.children[0]->size, blocks);
  EXPECT_EQ(tree->smallCount, 2) << "the other two folders fold away";
  EXPECT_EQ(tree->smallBytes, 0) << "further links add nothing";
  EXPECT_EQ(tree->itemCount, 6);
  // Measuring counts every name, and deleting one name frees nothing.
  EXPECT_EQ(DiskScanner::usage(home / "tree"), std::make_pair(3 * blocks, std::int64_t{0}));
  EXPECT_EQ(DiskScanner::usage(first), std::make_pair(blocks, std::int64_t{0}));
}

TEST(DiskScan, SmallFilesFoldIntoCountersAndSmallFoldersIntoTheirParent) {
  FakeHome home;
  std::int64_t expected = 0;
  for (int i = 0; i < 10; ++i) expected += blocksOf(home.file("tree/small/f" + std::to_string(i), 10'000));
  home.file("tree/big", 3 * kMiB);

  const auto small = scan(home / "tree/small");
  EXPECT_TRUE(small->children.empty());
  EXPECT_EQ(small->smallCount, 10);
  EXPECT_EQ(small->smallBytes, expected);
  EXPECT_EQ(small->size, expected);
  EXPECT_EQ(small->itemCount, 10);

  const auto tree = scan(home / "tree");
  ASSERT_EQ(tree->children.size(), 1u);
  EXPECT_EQ(tree->children[0]->name, "big");
  EXPECT_FALSE(tree->children[0]->isDir);
  EXPECT_EQ(tree->smallCount, 1) << "the folder of small files is one small item";
  EXPECT_EQ(tree->smallBytes, expected);
  EXPECT_EQ(tree->itemCount, 12);
}

TEST(DiskScan, UnreadableFoldersAndRootsThatCannotBeListedCountAsEmpty) {
  FakeHome home;
  for (const auto& path : {home / "missing", home.file("plain-file", 5000)}) {
    const auto tree = scan(path);
    EXPECT_EQ(tree->name, path);
    EXPECT_EQ(tree->size + tree->itemCount + tree->smallCount, 0) << path;
    EXPECT_TRUE(tree->children.empty());
  }
  const std::string visible = home.file("tree/visible", 50'000);
  home.file("tree/locked/hidden", 2 * kMiB);
  ASSERT_EQ(::chmod(home.path().c_str(), 0755), 0);
  ASSERT_EQ(::chmod((home / "tree/locked").c_str(), 0), 0);
  EXPECT_EQ(withPermissionsApplied([&] {
              const auto tree = scan(home / "tree/locked");
              return tree->size + tree->itemCount + static_cast<std::int64_t>(tree->children.size());
            }),
            0);
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
  EXPECT_EQ(childNamed(*tree, "skipped"), nullptr);
  const FSNode* kept = childNamed(*tree, "kept");
  ASSERT_NE(kept, nullptr);
  EXPECT_NE(childNamed(*kept, "skipped"), nullptr) << "a folder of the same name elsewhere is scanned";
  // The system skips name absolute folders, so a scan of anything but "/" never meets them.
  EXPECT_NE(childNamed(*tree, "proc"), nullptr);
  EXPECT_NE(childNamed(*tree, "mnt"), nullptr);
  EXPECT_EQ(tree->itemCount, 9) << "the skipped folder counts as listed, its content does not";
}

TEST(DiskScan, NeverEntersKernelFileSystems) {
  // /proc is huge and mostly empty files; a walk that entered it would count processes.
  const auto proc = scan("/proc");
  EXPECT_EQ(proc->itemCount + proc->size, 0) << "/proc itself is not walked";
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
  EXPECT_EQ(tree->size, blocksOf(real));
  EXPECT_EQ(tree->itemCount, 2) << "the mount point is listed but not entered";
  EXPECT_EQ(size, blocksOf(real));
}

TEST(DiskScan, ACancelledScanStillCompletes) {
  FakeHome home;
  for (int i = 0; i < 200; ++i)
    home.file("tree/d" + std::to_string(i / 5) + "/e" + std::to_string(i % 5) + "/f", 20'000);
  {
    DiskScanner scanner;
    scanner.cancel();
    const auto tree = scanner.scan(home / "tree");
    EXPECT_EQ(tree->itemCount, 0) << "cancelled before it began: nothing is listed";
    EXPECT_TRUE(tree->children.empty());
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

TEST(DiskScan, ProgressCanBeReadWhileItRuns) {
  FakeHome home;
  makeVariedTree(home / "tree/one", 1);
  makeVariedTree(home / "tree/two", 2);
  DiskScanner scanner;
  std::atomic<bool> done{false};
  std::int64_t lastItems = 0, lastBytes = 0;
  bool shrank = false;
  std::thread watcher([&] {
    while (!done.load()) {
      const std::int64_t items = scanner.items(), bytes = scanner.bytes();
      const std::string current = scanner.current();
      shrank =
          shrank || items < lastItems || bytes < lastBytes || !(current.empty() || current.starts_with(home / "tree"));
      lastItems = items;
      lastBytes = bytes;
    }
  });
  const auto tree = scanner.scan(home / "tree");
  done = true;
  watcher.join();
  EXPECT_FALSE(shrank) << "progress only grows and names folders of the scan";
  EXPECT_EQ(scanner.items(), tree->itemCount);
  EXPECT_TRUE(scanner.current().starts_with(home / "tree"));
}

TEST(DiskScan, FoldersNestedBeyondThePathLimitAreScanned) {
  FakeHome home;
  const std::string root = home / "deep";
  constexpr int kDepth = 1500;  // about 16,000 characters of path
  makeDeepChain(root, kDepth, "level-name", 2 * kMiB);
  const auto tree = scan(root);
  EXPECT_GE(tree->size, 2 * kMiB);
  EXPECT_EQ(tree->itemCount, kDepth + 1);
  const FSNode* node = tree.get();
  int depth = 0;
  for (; !node->children.empty(); ++depth) node = node->children[0].get();
  EXPECT_EQ(depth, kDepth + 1) << "the chain leads to the large file at the bottom";
  EXPECT_EQ(node->name, "bottom");
  std::string chain = root;
  for (int level = 0; level < kDepth; ++level) chain += "/level-name";
  EXPECT_EQ(node->path(), chain + "/bottom");
  EXPECT_FALSE(removeTreeSafely(root));
}

TEST(DiskUsage, LinksAreMeasuredNotFollowed) {
  FakeHome home;
  home.file("outside/big", 2 * kMiB);
  home.file("tree/own", 5000);
  ASSERT_EQ(::symlink((home / "outside").c_str(), (home / "tree/to-outside").c_str()), 0);
  ASSERT_EQ(::symlink((home / "outside").c_str(), (home / "folder-link").c_str()), 0);
  EXPECT_EQ(DiskScanner::size(home / "tree"), blocksOf(home / "tree/own") + blocksOf(home / "tree/to-outside"));
  EXPECT_EQ(DiskScanner::size(home / "folder-link"), blocksOf(home / "folder-link"));
  EXPECT_EQ(DiskScanner::usage(home / "missing"), std::make_pair(std::int64_t{0}, std::int64_t{0}));
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
  EXPECT_FALSE(removeTreeSafely(root));
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
