#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "core/measure.h"
#include "lens/disk_scanner.h"
#include "support/fake_home.h"

namespace tw::test {
namespace {

// Allocated bytes of every file below `path`, links not followed: what du counts for
// the files themselves.
std::int64_t allocatedFileBytes(const std::string& path) {
  std::int64_t total = 0;
  struct stat info {};
  if (::lstat(path.c_str(), &info) != 0) return 0;
  if (!S_ISDIR(info.st_mode)) return static_cast<std::int64_t>(info.st_blocks) * 512;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(path)) {
    if (::lstat(entry.path().c_str(), &info) == 0 && !S_ISDIR(info.st_mode)) {
      total += static_cast<std::int64_t>(info.st_blocks) * 512;
    }
  }
  return total;
}

Usage usageOf(const std::string& path) {
  const auto [size, freeable] = DiskScanner::usage(path);
  return {size, freeable};
}

}  // namespace

TEST(Measure, GroupsAddUpTheirPathsAndEmptyGroupsAreZero) {
  FakeHome home;
  const auto a = home.folder("Projects/web/node_modules");
  home.file("Projects/web/node_modules/react/index.js", 40'000);
  home.file("Projects/web/node_modules/lodash/lodash.js", 530'000);
  const auto b = home.file("Projects/web/dist/bundle.js", 12'345);

  const auto results = measure(std::vector<std::vector<std::string>>{{}, {a}, {a, b}, {home / "missing"}});
  ASSERT_EQ(results.size(), 4u);
  EXPECT_EQ(results[0], (Usage{0, 0}));
  EXPECT_EQ(results[1].size, allocatedFileBytes(a));
  EXPECT_GE(results[1].size, 570'000);
  EXPECT_EQ(results[1].freeable, results[1].size) << "nothing shared, all of it comes back";
  EXPECT_EQ(results[2].size, allocatedFileBytes(a) + allocatedFileBytes(b));
  EXPECT_EQ(results[2], (Usage{usageOf(a).size + usageOf(b).size, usageOf(a).freeable + usageOf(b).freeable}));
  EXPECT_EQ(results[3], (Usage{0, 0}));
}

TEST(Measure, HardLinkedFileCountsAsSizeButNotAsFreeable) {
  FakeHome home;
  const auto original = home.file("shared/data.bin", 200'000);
  home.folder("cache");
  ASSERT_EQ(::link(original.c_str(), (home / "cache/data.bin").c_str()), 0);
  const auto results = measure(std::vector<std::vector<std::string>>{{home / "cache"}});
  ASSERT_EQ(results.size(), 1u);
  EXPECT_GE(results[0].size, 200'000);
  EXPECT_EQ(results[0].freeable, 0);
}

TEST(Measure, PathsGiveOneResultPerDistinctPath) {
  FakeHome home;
  const auto a = home.file("a/file", 10'000);
  const auto b = home.file("b/file", 70'000);
  const auto results = measure(std::vector<std::string>{a, b, a, home / "nothing"});
  ASSERT_EQ(results.size(), 3u);
  EXPECT_EQ(results.at(a).size, allocatedFileBytes(a));
  EXPECT_EQ(results.at(b).size, allocatedFileBytes(b));
  EXPECT_EQ(results.at(home / "nothing"), (Usage{0, 0}));
  EXPECT_TRUE(measure(std::vector<std::string>{}).empty());
}

TEST(Measure, ManyPathsMatchMeasuringThemOneByOne) {
  FakeHome home;
  std::vector<std::vector<std::string>> groups(20);
  for (int i = 0; i < 200; ++i) {
    const auto path = home.file("p/" + std::to_string(i) + "/f", 1000 * (i % 17));
    groups[static_cast<std::size_t>(i % 20)].push_back(path);
  }
  const auto results = measure(groups);
  for (std::size_t g = 0; g < groups.size(); ++g) {
    Usage expected;
    for (const auto& path : groups[g]) {
      expected.size += usageOf(path).size;
      expected.freeable += usageOf(path).freeable;
    }
    EXPECT_EQ(results[g], expected) << "group " << g;
  }
}

}  // namespace tw::test
