#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "core/unique_fd.h"
#include "dedupe/open_files.h"
#include "dedupe_fixtures.h"
#include "support/fake_home.h"

namespace tw::test {
namespace {

OpenFiles::Key keyOf(const std::string& path) {
  struct stat info {};
  ::lstat(path.c_str(), &info);
  return {static_cast<std::int32_t>(info.st_dev), info.st_ino};
}

TEST(OpenFiles, SeesFilesOtherProcessesHoldButNotOurOwn) {
  FakeHome home;
  const auto theirs = put(home / "theirs.txt", "held by a child");
  const auto ours = put(home / "ours.txt", "held by this process");
  const UniqueFd ownDescriptor{::open(ours.c_str(), O_RDONLY | O_CLOEXEC)};
  ASSERT_TRUE(ownDescriptor);

  EXPECT_FALSE(OpenFiles::snapshot().contains(keyOf(theirs)));
  HeldOpen held(theirs);
  const auto files = OpenFiles::snapshot();
  EXPECT_TRUE(files.contains(keyOf(theirs)));
  EXPECT_FALSE(files.contains(keyOf(ours)));
}

TEST(OpenFiles, RecentReusesASnapshotOnlyWhileItIsYoungEnough) {
  FakeHome home;
  const auto file = put(home / "late.txt", "opened after the first look");
  EXPECT_FALSE(OpenFiles::recent(60).contains(keyOf(file)));
  HeldOpen held(file);
  EXPECT_FALSE(OpenFiles::recent(60).contains(keyOf(file)));
  EXPECT_TRUE(OpenFiles::recent(0).contains(keyOf(file)));
  EXPECT_TRUE(OpenFiles::recent(60).contains(keyOf(file)));
}

}  // namespace
}  // namespace tw::test
