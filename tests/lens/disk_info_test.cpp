#include <gtest/gtest.h>
#include <stdlib.h>

#include <sstream>

#include "lens/disk_scanner.h"
#include "lens/volume_info.h"
#include "support/fake_home.h"

namespace tw::test {
namespace {

TEST(DiskInfo, MatchesWhatDfSaysAboutTheHomeVolume) {
  FakeHome home;
  const auto df = runProcess({"df", "-B1", "--output=size,avail,target", home.path()});
  ASSERT_EQ(df.code, 0) << df.err;
  std::istringstream lines(df.out);
  std::string header, sizeText, availText, target;
  std::getline(lines, header);
  lines >> sizeText >> availText >> target;
  const DiskInfo info = DiskInfo::current();
  EXPECT_EQ(info.total, std::stoll(sizeText));
  // Other programs write while the test runs; allow a little drift.
  EXPECT_NEAR(static_cast<double>(info.free), std::stod(availText), 256.0 * 1024 * 1024);
  EXPECT_EQ(startupVolume().name, target) << "the volume is named for its mount point";
  EXPECT_EQ(startupVolume().purgeable, 0);
}

TEST(DiskInfo, ShowsDemonstrationValuesInSampleMode) {
  FakeHome home;
  ::setenv("TIDEWARDEN_SNAPSHOT", "1", 1);
  const DiskInfo info = DiskInfo::current();
  ::unsetenv("TIDEWARDEN_SNAPSHOT");
  EXPECT_EQ(info.total, 994'662'584'320);
  EXPECT_EQ(info.free, 128'400'000'000);
}

}  // namespace
}  // namespace tw::test
