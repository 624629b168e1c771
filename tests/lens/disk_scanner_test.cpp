#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <sstream>
#include <thread>

#include "lens/disk_scanner.h"
#include "lens/lens_fixtures.h"
#include "lens/safe_remove.h"
#include "support/fake_home.h"

namespace tw::test {
namespace {

constexpr std::int64_t kMiB = 1024 * 1024;

std::int64_t blocksOf(const std::string& path) {
  struct stat info {};
  EXPECT_EQ(::lstat(path.c_str(), &info), 0) << path;
  return static_cast<std::int64_t>(info.st_blocks) * 512;
}

const FSNode* childNamed(const FSNode& node, const std::string& name) {
  for (const auto& child : node.children) {
    if (child->name == name) return child.get();
  }
  return nullptr;
}

// What every finished tree must satisfy, checked on every node.
void expectConsistent(const FSNode& node) {
  std::int64_t childBytes = 0;
  for (std::size_t i = 0; i < node.children.size(); ++i) {
    const FSNode& child = *node.children[i];
    EXPECT_EQ(child.parent, &node);
    EXPECT_GE(child.size, kMiB) << child.path() << " should have been folded";
    if (i > 0) {
      EXPECT_GE(node.children[i - 1]->size, child.size) << "children are sorted largest first";
    }
    if (!child.isDir) {
      EXPECT_EQ(child.itemCount, 1);
      EXPECT_TRUE(child.children.empty());
    }
    childBytes += child.size;
    expectConsistent(child);
  }
  if (node.isDir) {
    EXPECT_EQ(node.size, childBytes + node.smallBytes) << node.path();
  }
  EXPECT_LE(node.freeable, node.size) << node.path();
}

std::unique_ptr<FSNode> scan(const std::string& path, std::set<std::string> skip = {}) {
  DiskScanner scanner(std::move(skip));
  return scanner.scan(path);
}

TEST(DiskScan, TotalsMatchFindWithEachHardLinkedFileCountedOnce) {
  FakeHome home;
  const std::string root = home / "tree";
  makeVariedTree(root, 11);
  const auto expected = findTotals(root);

  DiskScanner scanner;
  const auto tree = scanner.scan(root);
  EXPECT_EQ(tree->name, root);
  EXPECT_EQ(tree->path(), root);
  EXPECT_EQ(tree->size, expected.eachInodeOnce);
  EXPECT_EQ(tree->itemCount, expected.entries);
  EXPECT_EQ(tree->freeable, tree->size) << "nothing on this file system shares blocks";
  EXPECT_EQ(scanner.items(), expected.entries);
  EXPECT_EQ(scanner.bytes(), expected.eachInodeOnce);
  EXPECT_FALSE(tree->children.empty());
  expectConsistent(*tree);
}

TEST(DiskScan, AgreesWithDuOnceFolderBlocksAreAddedBack) {
  // du counts each file once like the scan, and also the folders' own blocks, which the scan
  // leaves out.
  FakeHome home;
  const std::string root = home / "tree";
  makeVariedTree(root, 23);
  const auto du = runProcess({"du", "-s", "-B1", root});
  ASSERT_EQ(du.code, 0) << du.err;
  const auto folders = runProcess({"find", root, "-type", "d", "-printf", "%b\n"});
  std::istringstream blocks(folders.out);
  std::int64_t folderBytes = 0;
  for (std::int64_t count = 0; blocks >> count;) folderBytes += count * 512;
  EXPECT_EQ(scan(root)->size + folderBytes, std::stoll(du.out));
}

TEST(DiskScan, AFileLinkedFromThreeFoldersCountsOnce) {
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

TEST(DiskScan, ARootThatCannotBeListedGivesAnEmptyTree) {
  FakeHome home;
  const std::string file = home.file("plain-file", 5000);
  for (const auto& path : {home / "missing", file}) {
    const auto tree = scan(path);
    EXPECT_EQ(tree->name, path);
    EXPECT_EQ(tree->size, 0);
    EXPECT_EQ(tree->itemCount, 0);
    EXPECT_EQ(tree->smallCount, 0);
    EXPECT_TRUE(tree->children.empty());
  }

  home.file("locked/inside", 2 * kMiB);
  ASSERT_EQ(::chmod(home.path().c_str(), 0755), 0);
  ASSERT_EQ(::chmod((home / "locked").c_str(), 0), 0);
  const auto countItems = [&] {
    const auto tree = scan(home / "locked");
    return tree->size + tree->itemCount + static_cast<std::int64_t>(tree->children.size());
  };
  const std::optional<std::int64_t> seen = permissionsAreIgnored() ? asNobody(countItems) : countItems();
  ASSERT_TRUE(seen.has_value());
  EXPECT_EQ(*seen, 0);
}

TEST(DiskScan, SkipsExactlyTheGivenFolders) {
  FakeHome home;
  home.file("tree/kept/big", 2 * kMiB);
  home.file("tree/skipped/big", 2 * kMiB);
  home.file("tree/kept/skipped/big", 2 * kMiB);
  DiskScanner scanner({home / "tree/skipped"});
  const auto tree = scanner.scan(home / "tree");
  EXPECT_EQ(childNamed(*tree, "skipped"), nullptr);
  const FSNode* kept = childNamed(*tree, "kept");
  ASSERT_NE(kept, nullptr);
  EXPECT_NE(childNamed(*kept, "skipped"), nullptr) << "a folder of the same name elsewhere is scanned";
  EXPECT_EQ(tree->size, kept->size);
  EXPECT_EQ(tree->itemCount, 5) << "the skipped folder counts as listed, its content does not";
}

TEST(DiskScan, RootSkipsAreTheSystemFoldersAndApplyOnlyToTheWholeDisk) {
  EXPECT_EQ(DiskScanner::rootSkips(), (std::set<std::string>{"/proc", "/sys", "/dev", "/run", "/media", "/mnt"}));
  EXPECT_EQ(DiskScanner::skipsFor("/"), DiskScanner::rootSkips());
  EXPECT_TRUE(DiskScanner::skipsFor("/mnt").empty()) << "scanning a skipped folder directly enters it";
  EXPECT_TRUE(DiskScanner::skipsFor("/home").empty());
  // The skip set names absolute folders, so a scan of anything but "/" never meets them.
  FakeHome home;
  home.file("tree/proc/big", 2 * kMiB);
  home.file("tree/mnt/big", 2 * kMiB);
  const auto tree = scan(home / "tree", DiskScanner::rootSkips());
  EXPECT_NE(childNamed(*tree, "proc"), nullptr);
  EXPECT_NE(childNamed(*tree, "mnt"), nullptr);
}

TEST(DiskScan, NeverEntersKernelFileSystems) {
  const auto proc = scan("/proc");
  EXPECT_EQ(proc->itemCount, 0) << "/proc itself is not walked";
  EXPECT_EQ(proc->size, 0);

  FakeHome home;
  home.file("tree/real", 2 * kMiB);
  const std::string mountPoint = home.folder("tree/kernel");
  if (::geteuid() != 0) GTEST_SKIP() << "mounting sysfs into a folder needs root";
  const auto mounted = runProcess({"mount", "-t", "sysfs", "sysfs", mountPoint});
  if (mounted.code != 0) GTEST_SKIP() << "cannot mount sysfs here: " << mounted.err;
  const auto tree = scan(home / "tree");
  (void)runProcess({"umount", mountPoint});
  EXPECT_EQ(tree->size, blocksOf(home / "tree/real"));
  EXPECT_EQ(tree->itemCount, 2) << "the mount point is listed but not entered";
}

TEST(DiskScan, ACancelledScanStillCompletes) {
  FakeHome home;
  for (int i = 0; i < 40; ++i) {
    for (int j = 0; j < 5; ++j) home.file("tree/d" + std::to_string(i) + "/e" + std::to_string(j) + "/f", 20'000);
  }
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
      shrank = shrank || items < lastItems || bytes < lastBytes;
      if (!current.empty()) shrank = shrank || !current.starts_with(home / "tree");
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
  while (!node->children.empty()) {
    node = node->children[0].get();
    ++depth;
  }
  EXPECT_EQ(depth, kDepth + 1) << "the chain leads to the large file at the bottom";
  EXPECT_EQ(node->name, "bottom");
  EXPECT_EQ(node->path().size(),
            root.size() + kDepth * std::string("/level-name").size() + std::string("/bottom").size());
  EXPECT_FALSE(removeTreeSafely(root));
}

TEST(DiskScan, ReflinkCopiesAreCountedButNotFreeable) {
  FakeHome home;
  ScratchVolume volume("xfs");
  if (!volume.ready()) GTEST_SKIP() << volume.reason();
  writeFilledFile(volume.path() + "/data/original", 4 * kMiB, 'o');
  ASSERT_EQ(
      runProcess({"cp", "--reflink=always", volume.path() + "/data/original", volume.path() + "/data/clone"}).code, 0);
  writeFilledFile(volume.path() + "/data/own", 2 * kMiB, 'w');
  ASSERT_EQ(runProcess({"sync"}).code, 0);
  const auto tree = scan(volume.path() + "/data");
  EXPECT_EQ(tree->size, 10 * kMiB);
  EXPECT_EQ(tree->freeable, 2 * kMiB);
  const FSNode* clone = childNamed(*tree, "clone");
  ASSERT_NE(clone, nullptr);
  EXPECT_EQ(clone->freeable, 0);
}

TEST(FSNodePaths, JoinNamesWithoutDoublingTheRootSlash) {
  FSNode root("/", true, nullptr);
  auto* usr = root.children.emplace_back(std::make_unique<FSNode>("usr", true, &root)).get();
  auto* lib = usr->children.emplace_back(std::make_unique<FSNode>("lib", true, usr)).get();
  EXPECT_EQ(root.path(), "/");
  EXPECT_EQ(usr->path(), "/usr");
  EXPECT_EQ(lib->path(), "/usr/lib");
  EXPECT_EQ(lib->ancestors(), (std::vector<const FSNode*>{&root, usr, lib}));

  FSNode scanned("/home/me/src", true, nullptr);
  auto* app = scanned.children.emplace_back(std::make_unique<FSNode>("app", true, &scanned)).get();
  EXPECT_EQ(app->path(), "/home/me/src/app");
}

}  // namespace
}  // namespace tw::test
