#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <nlohmann/json.hpp>

#include "lens/disk_scanner.h"
#include "lens/snapshots.h"
#include "support/fake_home.h"

namespace tw {
namespace {

// A file whose blocks are allocated without being written, so that a test can make folders
// of hundreds of megabytes in a moment. Skips the test where the file system cannot.
bool allocate(const std::string& path, std::int64_t bytes) {
  test::makeFolders(path.substr(0, path.rfind('/')));
  const int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
  if (fd < 0) return false;
  const bool done = ::posix_fallocate(fd, 0, bytes) == 0;
  ::close(fd);
  return done;
}

// A folder node of a hand-made tree, for the exact thresholds.
FSNode& folder(FSNode& parent, const std::string& name, std::int64_t bytes) {
  auto node = std::make_unique<FSNode>(name, true, &parent);
  node->size = bytes;
  node->freeable = bytes;
  parent.children.push_back(std::move(node));
  return *parent.children.back();
}

std::unique_ptr<FSNode> rootNode(const std::string& path, std::int64_t bytes) {
  auto root = std::make_unique<FSNode>(path, true, nullptr);
  root->size = bytes;
  root->freeable = bytes;
  return root;
}

TEST(Snapshots, ARealTreeScannedTwiceReportsTheFoldersThatGrewSinceTheFirstScan) {
  test::FakeHome home;
  const Context context = home.context();
  const std::string tree = home.folder("work");
  if (!allocate(tree + "/big/data/blob-1", 120'000'000) || !allocate(tree + "/big/notes/n", 1'500'000) ||
      !allocate(tree + "/other/o", 2'000'000)) {
    GTEST_SKIP() << "this file system cannot allocate space without writing it";
  }
  const Date first = dateFromSeconds(1'790'000'000);
  const auto scanned = DiskScanner().scan(tree);
  EXPECT_FALSE(Snapshots::compareAndSave(context, *scanned, first).has_value());  // nothing to compare with yet

  ASSERT_TRUE(allocate(tree + "/big/data/blob-2", 150'000'000));
  const auto rescanned = DiskScanner().scan(tree);
  const auto comparison = Snapshots::compareAndSave(context, *rescanned, first + std::chrono::hours(1));
  ASSERT_TRUE(comparison.has_value());
  EXPECT_EQ(comparison->since, first);
  ASSERT_EQ(comparison->changes.size(), 3u);  // the tree, big and big/data grew by 150 MB
  std::set<std::string> paths;
  for (const auto& change : comparison->changes) {
    paths.insert(change.path);
    EXPECT_GE(change.after - change.before, 150'000'000) << change.path;
  }
  EXPECT_EQ(paths, (std::set<std::string>{tree, tree + "/big", tree + "/big/data"}));

  // The second snapshot replaced the first: scanning again unchanged reports nothing.
  const auto again = Snapshots::compareAndSave(context, *DiskScanner().scan(tree), first + std::chrono::hours(2));
  ASSERT_TRUE(again.has_value());
  EXPECT_EQ(again->since, first + std::chrono::hours(1));
  EXPECT_TRUE(again->changes.empty());
}

TEST(Snapshots, FlatteningEntersFoldersOfFiftyMillionBytesOrMoreDownToEightLevels) {
  auto root = rootNode("/", 10'000'000'000);
  FSNode& small = folder(*root, "small", 49'999'999);
  folder(small, "inside-small", 40'000'000);
  FSNode& big = folder(*root, "big", 50'000'000);
  folder(big, "inside-big", 1'000'000);
  // A chain of big folders ten levels deep.
  FSNode* level = &folder(*root, "d1", 900'000'000);
  for (int depth = 2; depth <= 10; ++depth) level = &folder(*level, "d" + std::to_string(depth), 900'000'000);

  const auto sizes = Snapshots::flatten(*root);
  EXPECT_EQ(sizes.at("/"), 10'000'000'000);
  EXPECT_EQ(sizes.at("/small"), 49'999'999);  // recorded, as its parent's child
  EXPECT_FALSE(sizes.contains("/small/inside-small"));
  EXPECT_TRUE(sizes.contains("/big/inside-big"));
  EXPECT_TRUE(sizes.contains("/d1/d2/d3/d4/d5/d6/d7/d8"));
  EXPECT_FALSE(sizes.contains("/d1/d2/d3/d4/d5/d6/d7/d8/d9"));
}

TEST(Snapshots, OnlyChangesOfAHundredMillionBytesOrMoreAreReportedBiggestFirstAtMostSixty) {
  test::FakeHome home;
  const Context context = home.context();
  const auto scan = [](std::int64_t slow, std::int64_t fast, int many) {
    auto root = rootNode("/data", 100'000'000'000);
    folder(*root, "slow", slow);
    folder(*root, "fast", fast);
    for (int i = 0; i < many; ++i) folder(*root, "m" + std::to_string(100 + i), 200'000'000 + i * 1'000'000'000LL);
    return root;
  };
  EXPECT_FALSE(Snapshots::compareAndSave(context, *scan(950'000'000, 950'000'000, 0)).has_value());
  auto comparison = Snapshots::compareAndSave(context, *scan(1'049'999'999, 1'050'000'000, 0));
  ASSERT_TRUE(comparison.has_value());
  ASSERT_EQ(comparison->changes.size(), 1u);
  EXPECT_EQ(comparison->changes[0], (ScanChange{"/data/fast", 950'000'000, 1'050'000'000}));

  // Seventy new folders: the sixty biggest come back, biggest first.
  comparison = Snapshots::compareAndSave(context, *scan(1'049'999'999, 1'050'000'000, 70));
  ASSERT_TRUE(comparison.has_value());
  ASSERT_EQ(comparison->changes.size(), 60u);
  EXPECT_EQ(comparison->changes.front().path, "/data/m169");
  EXPECT_EQ(comparison->changes.front().before, 0);
  EXPECT_EQ(comparison->changes.back().path, "/data/m110");
}

TEST(Snapshots, FileNamesAreBase64OfThePathWithoutSlashes) {
  EXPECT_EQ(Snapshots::fileName("/"), "Lw==.json");
  EXPECT_EQ(Snapshots::fileName("/home/a"), "L2hvbWUvYQ==.json");
  EXPECT_EQ(Snapshots::fileName("/srv/\xfb\xff"), "L3Nydi_7_w==.json");
  for (const auto& path : {"/", "/home/a", "/srv/\xfb\xff"}) {
    EXPECT_EQ(Snapshots::fileName(path).find('/'), std::string::npos) << path;
  }
  EXPECT_NE(Snapshots::fileName("/"), Snapshots::fileName("/home/a"));

  test::FakeHome home;
  const Context context = home.context();
  (void)Snapshots::compareAndSave(context, *rootNode("/home/a", 5));
  const auto stored =
      nlohmann::json::parse(test::readFile(home / ".local/share/Tidewarden/snapshots/L2hvbWUvYQ==.json"));
  EXPECT_EQ(stored.at("sizes").at("/home/a"), 5);
  EXPECT_TRUE(stored.at("date").is_string());
}

TEST(Snapshots, DamagedUnwritableOrSampleDataSnapshotsAreSilent) {
  test::FakeHome home;
  Context context = home.context();
  const std::string file = Snapshots::folder(context) + "/" + Snapshots::fileName("/data");
  test::writeFile(file, "{\"date\": \"yesterday\", \"sizes\": {}}");
  EXPECT_FALSE(Snapshots::compareAndSave(context, *rootNode("/data", 1)).has_value());
  EXPECT_TRUE(Snapshots::compareAndSave(context, *rootNode("/data", 1)).has_value());  // replaced by a good one

  // Where the snapshot folder cannot be made, nothing is stored and nothing fails.
  test::removeTree(Snapshots::folder(context));
  test::writeFile(Snapshots::folder(context), "a file where the folder should be");
  EXPECT_FALSE(Snapshots::compareAndSave(context, *rootNode("/data", 1)).has_value());

  test::FakeHome other;
  Context sample = other.context();
  sample.sampleData = true;
  EXPECT_FALSE(Snapshots::compareAndSave(sample, *rootNode("/data", 1)).has_value());
  EXPECT_FALSE(Snapshots::compareAndSave(sample, *rootNode("/data", 1)).has_value());
  EXPECT_FALSE(test::exists(Snapshots::folder(sample)));
}

}  // namespace
}  // namespace tw
