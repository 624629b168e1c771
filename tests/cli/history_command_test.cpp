#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "core/date.h"
#include "core/format.h"
#include "core/history.h"
#include "core/text.h"
#include "support/fake_home.h"

namespace tw::test {
namespace {

// Entries one minute apart, oldest first, as the log keeps them.
void writeLog(const FakeHome& home, int count) {
  nlohmann::json log = nlohmann::json::array();
  for (int i = 0; i < count; ++i) {
    nlohmann::json entry{{"id", "0b5b2a8e-3c1d-4f6a-9e2b-7d4c1a2b3c4" + std::to_string(i % 10)},
                         {"date", iso8601(dateFromSeconds(1'780'000'000 + 60 * i))},
                         {"category", i % 2 ? "Trash" : "Developer"},
                         {"name", "item-" + std::to_string(i)},
                         {"bytes", 1000 * (i + 1)}};
    if (i % 3 == 0) entry["restore"] = "Rebuilt on the next build";
    log.push_back(entry);
  }
  writeFile(home.context().history->filePath(), log.dump());
}

}  // namespace

TEST(HistoryCommand, EmptyOrDamagedLogSaysNothingWasCleaned) {
  FakeHome home;
  for (const bool damaged : {false, true}) {
    if (damaged) writeFile(home.context().history->filePath(), "[{\"name\":\"\xff\"");
    const auto text = runTidewarden({"history"});
    EXPECT_EQ(text.code, 0);
    EXPECT_EQ(text.out, "Nothing cleaned yet.\n");
    const auto json = runTidewarden({"history", "--json"});
    EXPECT_EQ(json.code, 0);
    EXPECT_EQ(nlohmann::json::parse(json.out), nlohmann::json::parse(R"({"count":0,"entries":[],"totalBytes":0})"));
  }
}

TEST(HistoryCommand, ShowsTheNewestTwentyFirst) {
  FakeHome home;
  writeLog(home, 25);
  const auto result = runTidewarden({"history"});
  ASSERT_EQ(result.code, 0) << result.err;
  const auto all = splitLines(result.out);
  ASSERT_EQ(all.size(), 22u) << result.out;
  EXPECT_EQ(all[0], localDateTime(dateFromSeconds(1'780'000'000 + 60 * 24)) +
                        "  Developer  item-24  25 KB  Rebuilt on the next build");
  EXPECT_NE(all[19].find("item-5"), std::string::npos);
  EXPECT_EQ(all[20], "");
  EXPECT_EQ(all[21], "Showing 20 of 25 entries");
  // Rows without a restore hint end at the size; the others carry it last.
  EXPECT_TRUE(all[1].ends_with("item-23  24 KB")) << all[1];
  EXPECT_NE(all[3].find("item-21"), std::string::npos);
  EXPECT_TRUE(all[3].ends_with("  Rebuilt on the next build")) << all[3];
}

TEST(HistoryCommand, LimitPicksHowManyAndJsonListsTheShownEntriesWithTheirTotal) {
  FakeHome home;
  writeLog(home, 1);
  EXPECT_EQ(splitLines(runTidewarden({"history", "--limit=5"}).out).back(), "Showing 1 of 1 entry");
  writeLog(home, 5);
  const auto two = splitLines(runTidewarden({"history", "--limit", "2"}).out);
  ASSERT_EQ(two.size(), 4u);
  EXPECT_EQ(two.back(), "Showing 2 of 5 entries");

  const auto result = runTidewarden({"history", "--json", "--limit", "3"});
  ASSERT_EQ(result.code, 0);
  const auto json = nlohmann::json::parse(result.out);
  EXPECT_EQ(json["count"], 3);
  EXPECT_EQ(json["totalBytes"], 5000 + 4000 + 3000);
  ASSERT_EQ(json["entries"].size(), 3u);
  EXPECT_EQ(json["entries"][0], nlohmann::json::parse(R"({"bytes":5000,"category":"Developer","date":")" +
                                                      iso8601(dateFromSeconds(1'780'000'000 + 240)) +
                                                      R"(","name":"item-4","restore":null})"));
  EXPECT_EQ(json["entries"][1]["restore"], "Rebuilt on the next build");
}

TEST(HistoryCommand, RecordedRemovalShowsUpWithItsSize) {
  FakeHome home;
  home.context().history->record("Developer", "DerivedData \xff", 1'500'000'000, std::nullopt);
  const auto result = runTidewarden({"history"});
  ASSERT_EQ(splitLines(result.out).size(), 3u) << result.out;
  EXPECT_NE(splitLines(result.out)[0].find("Developer  DerivedData \xEF\xBF\xBD  1.5 GB"), std::string::npos)
      << result.out;
  const auto json = runTidewarden({"history", "--json"});
  EXPECT_EQ(nlohmann::json::parse(json.out)["entries"][0]["name"], "DerivedData \xEF\xBF\xBD");
}

}  // namespace tw::test
