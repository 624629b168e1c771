#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <map>
#include <nlohmann/json.hpp>
#include <sstream>

#include "core/format.h"
#include "support/fake_home.h"
#include "support/loop_volume.h"

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
  const double used = json["used"].get<double>();
  EXPECT_NEAR(json["usedPercent"].get<double>(), used / (used + json["available"].get<double>()) * 100, 0.05);

  const auto misuse = runTidewarden({"status", "extra"});
  EXPECT_EQ(misuse.code, 2);
  EXPECT_EQ(misuse.err, "tidewarden: unexpected argument 'extra'\nRun 'tidewarden help' for usage.\n");
}

struct DfLine {
  std::int64_t size = 0, used = 0, available = 0;
  std::string source, target;
};

DfLine dfOf(const std::string& path) {
  std::istringstream df(runProcess({"df", "-B1", "--output=size,used,avail,source,target", path}).out);
  std::string header;
  std::getline(df, header);
  DfLine line;
  df >> line.size >> line.used >> line.available >> line.source >> line.target;
  return line;
}

// The name udev gives the device's label, when it runs here; else the device itself.
std::string labelOrDevice(const std::string& source) {
  std::error_code error;
  const auto device = std::filesystem::canonical(source, error);
  for (const auto& link : std::filesystem::directory_iterator("/dev/disk/by-label", error)) {
    if (std::filesystem::canonical(link.path(), error) == device) return link.path().filename().string();
  }
  return source;
}

// ext4 keeps 5% of its blocks for the administrator: they are neither used nor free, so
// total − free is not what is used.
TEST(StatusCommand, ReadsLikeDfOnAVolumeWithReservedBlocks) {
  FakeHome home;
  std::string whyNot;
  const auto volume = LoopVolume::mount(LoopVolume::Kind::ext4, 64 * 1024 * 1024, whyNot);
  if (!volume) GTEST_SKIP() << whyNot;
  writeFilledFile(volume->path() + "/home/data.bin", 20 * 1024 * 1024);
  ::sync();
  const std::map<std::string, std::optional<std::string>> onVolume{{"HOME", volume->path() + "/home"}};
  const auto result = runTidewarden({"status", "--json"}, onVolume);
  ASSERT_EQ(result.code, 0) << result.err;
  const auto json = nlohmann::json::parse(result.out);
  const DfLine df = dfOf(volume->path());
  ASSERT_GT(df.size, df.used + df.available) << "the volume keeps reserved blocks";
  EXPECT_EQ(json["volume"], df.target);
  EXPECT_EQ(json["device"], labelOrDevice(df.source));
  EXPECT_EQ(json["total"], df.size);
  EXPECT_EQ(json["used"], df.used);
  EXPECT_EQ(json["available"], df.available);
  const double share = static_cast<double>(df.used) / static_cast<double>(df.used + df.available);
  EXPECT_NEAR(json["usedPercent"].get<double>(), share * 100, 0.05);

  const auto text = runTidewarden({"status"}, onVolume);
  ASSERT_EQ(text.code, 0) << text.err;
  char percent[16];
  std::snprintf(percent, sizeof percent, "] %.0f%% used\n", share * 100);
  EXPECT_NE(text.out.find(df.target + " (" + labelOrDevice(df.source) + ")\n"), std::string::npos) << text.out;
  EXPECT_NE(text.out.find(percent), std::string::npos) << percent << " in:\n" << text.out;
  for (const auto& [row, bytes] : {std::pair{"Used", df.used}, {"Free", df.available}}) {
    const auto at = text.out.find(std::string("  ") + row + " ");
    ASSERT_NE(at, std::string::npos) << row << " in:\n" << text.out;
    const std::string line = text.out.substr(at, text.out.find('\n', at) - at);
    EXPECT_NE(line.find(" " + byteFormatter(bytes)), std::string::npos) << line;
  }
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
