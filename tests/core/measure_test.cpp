#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "core/measure.h"
#include "support/fake_home.h"
#include "support/loop_volume.h"

namespace tw::test {
namespace {

using Groups = std::vector<std::vector<std::string>>;

// Allocated bytes of every file below `path`, links not followed: what du counts for
// the files themselves, and all of it comes back when nothing is shared.
Usage unsharedUsage(const std::string& path) {
  std::int64_t total = 0;
  struct stat info {};
  if (::lstat(path.c_str(), &info) == 0 && !S_ISDIR(info.st_mode)) total = info.st_blocks * 512;
  if (S_ISDIR(info.st_mode)) {
    for (const auto& entry : std::filesystem::recursive_directory_iterator(path)) {
      if (::lstat(entry.path().c_str(), &info) == 0 && !S_ISDIR(info.st_mode)) total += info.st_blocks * 512;
    }
  }
  return {total, total};
}

void setAccessTime(const std::string& path, std::int64_t secondsFromNow) {
  const timespec times[2] = {{::time(nullptr) + secondsFromNow, 0}, {0, UTIME_OMIT}};
  ASSERT_EQ(::utimensat(AT_FDCWD, path.c_str(), times, AT_SYMLINK_NOFOLLOW), 0);
}

}  // namespace

TEST(Measure, GroupsAddUpTheirPathsAndHardLinkedFilesFreeNothing) {
  FakeHome home;
  const auto a = home.folder("Projects/web/node_modules");
  home.file("Projects/web/node_modules/react/index.js", 40'000);
  home.file("Projects/web/node_modules/lodash/lodash.js", 530'000);
  const auto b = home.file("Projects/web/dist/bundle.js", 12'345);
  const auto original = home.file("shared/data.bin", 200'000);
  home.folder("cache");
  ASSERT_EQ(::link(original.c_str(), (home / "cache/data.bin").c_str()), 0);

  const auto results = measure(Groups{{}, {a}, {a, b}, {home / "missing"}, {home / "cache"}});
  ASSERT_EQ(results.size(), 5u);
  EXPECT_EQ(results[0], (Usage{0, 0}));
  EXPECT_GE(results[1].size, 570'000);
  EXPECT_EQ(results[1], unsharedUsage(a));
  const Usage both{unsharedUsage(a).size + unsharedUsage(b).size, unsharedUsage(a).size + unsharedUsage(b).size};
  EXPECT_EQ(results[2], both);
  EXPECT_EQ(results[3], (Usage{0, 0}));
  EXPECT_GE(results[4].size, 200'000);
  EXPECT_EQ(results[4].freeable, 0);
}

TEST(Measure, PathsGiveOneResultPerDistinctPath) {
  FakeHome home;
  const auto a = home.file("a/file", 10'000);
  const auto b = home.file("b/file", 70'000);
  const auto results = measure(std::vector<std::string>{a, b, a, home / "nothing"});
  ASSERT_EQ(results.size(), 3u);
  EXPECT_EQ(results.at(a), unsharedUsage(a));
  EXPECT_EQ(results.at(b), unsharedUsage(b));
  EXPECT_EQ(results.at(home / "nothing"), (Usage{0, 0}));
  EXPECT_TRUE(measure(std::vector<std::string>{}).empty());
}

TEST(Measure, ManyGroupsMeasuredTogetherEachGetTheirOwnSum) {
  FakeHome home;
  Groups groups(20);
  std::vector<Usage> expected(20);
  for (int i = 0; i < 200; ++i) {
    const auto path = home.file("p/" + std::to_string(i) + "/f", 1000 * (i % 17));
    const auto g = static_cast<std::size_t>(i % 20);
    groups[g].push_back(path);
    expected[g].size += unsharedUsage(path).size;
    expected[g].freeable += unsharedUsage(path).freeable;
  }
  EXPECT_EQ(measure(groups), expected);
}

TEST(LastUsed, IsTheAccessTimeOfThePathItselfCappedAtNow) {
  FakeHome home;
  const auto file = home.file("old.log", 10);
  setAccessTime(file, -10 * 86'400);
  EXPECT_EQ(secondsSince1970(lastUsed(file).value()), ::time(nullptr) - 10 * 86'400);
  // A link has its own access time; the target's does not count.
  ASSERT_EQ(::symlink(file.c_str(), (home / "link").c_str()), 0);
  setAccessTime(home / "link", -3 * 86'400);
  EXPECT_EQ(secondsSince1970(lastUsed(home / "link").value()), ::time(nullptr) - 3 * 86'400);
  EXPECT_EQ(lastUsed(home / "missing"), std::nullopt);

  const auto future = home.file("from-tomorrow", 10);
  setAccessTime(future, 86'400);
  const auto before = std::chrono::system_clock::now();
  const auto used = lastUsed(future).value();
  EXPECT_GE(used, before);
  EXPECT_LE(used, std::chrono::system_clock::now());
}

TEST(LastUsed, SaysNothingOnAVolumeMountedNoatime) {
  std::string whyNot;
  const auto volume = LoopVolume::mount(LoopVolume::Kind::tmpfs, 16 << 20, whyNot);
  if (!volume) GTEST_SKIP() << whyNot;
  const std::string file = volume->path() + "/tool";
  writeFile(file, "x");
  setAccessTime(file, -200 * 86'400);
  ASSERT_TRUE(lastUsed(file).has_value());  // the usual mount keeps access times
  const auto remount = runProcess({"mount", "-o", "remount,noatime", volume->path()});
  if (remount.code != 0) GTEST_SKIP() << "cannot remount noatime: " << remount.err;
  // There the access time never moves, so it says nothing about when the file was used.
  EXPECT_EQ(lastUsed(file), std::nullopt);
}

}  // namespace tw::test
