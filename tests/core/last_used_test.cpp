#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "core/measure.h"
#include "support/fake_home.h"

namespace tw::test {
namespace {

void setAccessTime(const std::string& path, std::int64_t secondsFromNow) {
  const timespec times[2] = {{::time(nullptr) + secondsFromNow, 0}, {0, UTIME_OMIT}};
  ASSERT_EQ(::utimensat(AT_FDCWD, path.c_str(), times, AT_SYMLINK_NOFOLLOW), 0);
}

}  // namespace

TEST(LastUsed, IsTheAccessTimeOfThePathItself) {
  FakeHome home;
  const auto file = home.file("old.log", 10);
  setAccessTime(file, -10 * 86'400);
  const auto used = lastUsed(file);
  ASSERT_TRUE(used.has_value());
  EXPECT_EQ(secondsSince1970(*used), ::time(nullptr) - 10 * 86'400);

  // A link has its own access time; the target's does not count.
  ASSERT_EQ(::symlink(file.c_str(), (home / "link").c_str()), 0);
  setAccessTime(home / "link", -3 * 86'400);
  EXPECT_EQ(secondsSince1970(*lastUsed(home / "link")), ::time(nullptr) - 3 * 86'400);
  EXPECT_EQ(lastUsed(home / "missing"), std::nullopt);
}

TEST(LastUsed, DateInTheFutureIsThePresent) {
  FakeHome home;
  const auto file = home.file("from-tomorrow", 10);
  setAccessTime(file, 86'400);
  const auto before = std::chrono::system_clock::now();
  const auto used = lastUsed(file);
  const auto after = std::chrono::system_clock::now();
  ASSERT_TRUE(used.has_value());
  EXPECT_GE(*used, before);
  EXPECT_LE(*used, after);
}

}  // namespace tw::test
