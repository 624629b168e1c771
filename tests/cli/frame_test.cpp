#include <gtest/gtest.h>

#include "support/fake_home.h"

namespace tw::test {

TEST(CommandLineFrame, UnknownCommandExitsTwoWithUsageOnStandardError) {
  FakeHome home;
  const auto result = runTidewarden({"frobnicate"});
  EXPECT_EQ(result.code, 2);
  EXPECT_EQ(result.out, "");
  EXPECT_TRUE(result.err.starts_with("tidewarden: unknown command 'frobnicate'\nTidewarden: disk cleanup"));
}

}  // namespace tw::test
