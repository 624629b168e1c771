#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <sstream>

#include "core/format.h"
#include "support/fake_home.h"

namespace tw::test {
namespace {

TEST(StatusCommand, JsonReportsTheVolumeHoldingTheHomeFolderAsDfDoesAndTakesNoArguments) {
  FakeHome home;
  const auto result = runTidewarden({"status", "--json"});
  ASSERT_EQ(result.code, 0) << result.err;
  const auto json = nlohmann::json::parse(result.out);
  std::istringstream df(runProcess({"df", "-B1", "--output=size,avail,target", home.path()}).out);
  std::string header, target;
  std::int64_t size = 0, available = 0;
  std::getline(df, header);
  ASSERT_TRUE(df >> size >> available >> target);
  EXPECT_EQ(json["volume"], target) << "the volume is named for its mount point";
  EXPECT_EQ(json["total"], size);
  // Other programs write while the test runs; allow a little drift.
  EXPECT_NEAR(json["available"].get<double>(), static_cast<double>(available), 256.0 * 1024 * 1024);
  EXPECT_EQ(json["purgeable"], 0);
  EXPECT_EQ(json["purgeableNote"], "Linux has no purgeable space");
  const double total = json["total"].get<double>(), used = json["used"].get<double>();
  EXPECT_EQ(used, total - json["available"].get<double>());
  EXPECT_NEAR(json["usedPercent"].get<double>(), used / total * 100, 0.05);

  const auto misuse = runTidewarden({"status", "extra"});
  EXPECT_EQ(misuse.code, 2);
  EXPECT_EQ(misuse.err, "tidewarden: unexpected argument 'extra'\nRun 'tidewarden help' for usage.\n");
}

TEST(StatusCommand, SampleModeShowsTheDemonstrationVolume) {
  FakeHome home;
  const auto result = runTidewarden({"status", "--json"}, {{"TIDEWARDEN_SNAPSHOT", "1"}});
  ASSERT_EQ(result.code, 0) << result.err;
  const auto json = nlohmann::json::parse(result.out);
  EXPECT_EQ(json["total"], 994'662'584'320);
  EXPECT_EQ(json["available"], 128'400'000'000);
  EXPECT_EQ(json["used"], 994'662'584'320 - 128'400'000'000);
  EXPECT_EQ(json["usedPercent"].dump(), "87.1");

  const auto text = runTidewarden({"status"}, {{"TIDEWARDEN_SNAPSHOT", "1"}});
  ASSERT_EQ(text.code, 0);
  // 87.1% of 30 cells rounds to 26 full ones.
  std::string bar = "  [";
  for (int i = 0; i < 30; ++i) bar += i < 26 ? "█" : "░";
  for (const std::string& expected : {bar + "] 87% used\n", "Total      " + byteFormatter(994'662'584'320),
                                      byteFormatter(128'400'000'000) + "  including purgeable space",
                                      std::string("Purgeable"), std::string("Linux has no purgeable space")}) {
    EXPECT_NE(text.out.find(expected), std::string::npos) << expected << " in:\n" << text.out;
  }
}

}  // namespace
}  // namespace tw::test
