#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <sstream>

#include "core/format.h"
#include "support/fake_home.h"

namespace tw::test {
namespace {

struct DfLine {
  std::int64_t size = 0;
  std::int64_t available = 0;
  std::string target;
};

DfLine df(const std::string& path) {
  const auto result = runProcess({"df", "-B1", "--output=size,avail,target", path});
  std::istringstream lines(result.out);
  std::string header;
  std::getline(lines, header);
  DfLine line;
  lines >> line.size >> line.available >> line.target;
  return line;
}

TEST(StatusCommand, JsonReportsTheVolumeHoldingTheHomeFolder) {
  FakeHome home;
  const auto result = runTidewarden({"status", "--json"});
  ASSERT_EQ(result.code, 0) << result.err;
  const auto json = nlohmann::json::parse(result.out);
  const DfLine expected = df(home.path());
  EXPECT_EQ(json["volume"], expected.target);
  EXPECT_EQ(json["total"], expected.size);
  EXPECT_NEAR(json["available"].get<double>(), static_cast<double>(expected.available), 256.0 * 1024 * 1024);
  EXPECT_EQ(json["purgeable"], 0);
  EXPECT_EQ(json["purgeableNote"], "Linux has no purgeable space");
  const double total = json["total"].get<double>();
  const double used = json["used"].get<double>();
  EXPECT_EQ(used, total - json["available"].get<double>());
  EXPECT_NEAR(json["usedPercent"].get<double>(), used / total * 100, 0.05);
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
  for (int i = 0; i < 26; ++i) bar += "█";
  for (int i = 0; i < 4; ++i) bar += "░";
  EXPECT_NE(text.out.find(bar + "] 87% used\n"), std::string::npos) << text.out;
  EXPECT_NE(text.out.find("Total      " + byteFormatter(994'662'584'320)), std::string::npos) << text.out;
  EXPECT_NE(text.out.find(byteFormatter(128'400'000'000) + "  including purgeable space"), std::string::npos);
  EXPECT_NE(text.out.find("Purgeable"), std::string::npos);
  EXPECT_NE(text.out.find("Linux has no purgeable space"), std::string::npos);
}

}  // namespace
}  // namespace tw::test
