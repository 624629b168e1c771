#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "support/fake_home.h"

namespace tw::test {
namespace {

class ScreenCommand : public ::testing::Test {
 protected:
  FakeHome home;
  RunResult sample(const std::vector<std::string>& arguments) {
    return runTidewarden(arguments, {{"TIDEWARDEN_SNAPSHOT", "1"}});
  }
  nlohmann::json sampleJSON(const std::vector<std::string>& arguments) {
    const auto result = sample(arguments);
    EXPECT_EQ(result.code, 0) << result.err;
    return nlohmann::json::parse(result.out);
  }
};

TEST_F(ScreenCommand, JsonListHasTheScreenShapeAndSelectedKeepsOnlyPreselectedItems) {
  const auto json = sampleJSON({"projects", "--json"});
  EXPECT_EQ(json["provider"], "projects");
  EXPECT_TRUE(json["note"].is_null());
  ASSERT_FALSE(json["groups"].empty());
  std::int64_t total = 0, selected = 0;
  for (const auto& group : json["groups"]) {
    for (const char* key : {"id", "title", "subtitle", "badges", "lastActive", "note", "items", "total"}) {
      EXPECT_TRUE(group.contains(key)) << key;
    }
    std::int64_t groupTotal = 0;
    for (const auto& item : group["items"]) {
      EXPECT_EQ(item.size(), 11u);
      groupTotal += item["freeable"].get<std::int64_t>();
      if (item["selected"].get<bool>()) selected += item["freeable"].get<std::int64_t>();
    }
    EXPECT_EQ(group["total"], groupTotal);
    total += groupTotal;
  }
  EXPECT_EQ(json["total"], total);
  EXPECT_EQ(json["selected"], selected);
  EXPECT_LT(selected, total);

  // Groups left without pre-selected items drop out.
  const auto onlySelected = sampleJSON({"projects", "--selected", "--json"});
  EXPECT_LT(onlySelected["groups"].size(), json["groups"].size());
  for (const auto& group : onlySelected["groups"]) {
    ASSERT_FALSE(group["items"].empty());
    for (const auto& item : group["items"]) EXPECT_TRUE(item["selected"].get<bool>());
  }
  EXPECT_EQ(onlySelected["total"], json["selected"]);
}

TEST_F(ScreenCommand, TextListShowsGroupsItemsMarksTotalAndHint) {
  const auto result = sample({"projects"});
  ASSERT_EQ(result.code, 0);
  EXPECT_TRUE(result.out.starts_with("Projects  (columns: space freed, apparent size) pre-selected [x]\n"));
  for (const char* part : {"[untouched 30+ days]", "  [x]", "  [ ]", "\nTotal "}) {
    EXPECT_NE(result.out.find(part), std::string::npos) << part;
  }
  EXPECT_TRUE(result.out.ends_with("Preview cleanup with `tidewarden projects clean --selected --dry-run`.\n"));
}

TEST_F(ScreenCommand, CleanPreviewsWithoutYesDryRunWinsOverYesAndYesRunsEveryPreselectedAction) {
  const auto preview = sample({"projects", "clean", "--selected"});
  EXPECT_EQ(preview.code, 1);
  EXPECT_TRUE(preview.out.starts_with("Will run 4 actions, freeing about ")) << preview.out;
  EXPECT_EQ(preview.err, "\nNothing was deleted. Re-run with --yes to run them, or --dry-run to preview.\n");

  for (const auto& arguments : {std::vector<std::string>{"projects", "clean", "--selected", "--dry-run"},
                                {"projects", "clean", "--selected", "-n", "-y"}}) {
    const auto result = sample(arguments);
    EXPECT_EQ(result.code, 0);
    EXPECT_TRUE(result.out.starts_with("Would run 4 actions")) << result.out;
    EXPECT_EQ(result.err, "");
  }
  const auto dryRun = sampleJSON({"projects", "clean", "--selected", "-n", "-y", "--json"});
  EXPECT_EQ(dryRun["dryRun"], true);
  EXPECT_EQ(dryRun["confirmed"], false);
  EXPECT_EQ(dryRun["count"], 4);
  EXPECT_EQ(dryRun["items"].size(), 4u);
  EXPECT_EQ(dryRun["items"][0]["action"], "custom action");
  EXPECT_GT(dryRun["wouldFree"].get<std::int64_t>(), 0);

  const auto done = sampleJSON({"projects", "clean", "--selected", "--yes", "--json"});
  EXPECT_EQ(done["done"], 4);
  EXPECT_EQ(done["failed"], nlohmann::json::array());
  EXPECT_EQ(done["confirmed"], true);
  EXPECT_EQ(done["freed"], dryRun["wouldFree"]);
}

}  // namespace
}  // namespace tw::test
