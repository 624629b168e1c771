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
};

TEST_F(ScreenCommand, JsonListHasTheScreenShapeAndValidItems) {
  const auto result = sample({"projects", "--json"});
  ASSERT_EQ(result.code, 0) << result.err;
  const auto json = nlohmann::json::parse(result.out);
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
}

TEST_F(ScreenCommand, SelectedKeepsOnlyPreselectedItemsAndGroupsThatStillHaveAny) {
  const auto all = nlohmann::json::parse(sample({"projects", "--json"}).out);
  const auto selected = nlohmann::json::parse(sample({"projects", "--selected", "--json"}).out);
  EXPECT_LT(selected["groups"].size(), all["groups"].size());
  for (const auto& group : selected["groups"]) {
    ASSERT_FALSE(group["items"].empty());
    for (const auto& item : group["items"]) EXPECT_TRUE(item["selected"].get<bool>());
  }
  EXPECT_EQ(selected["total"], all["selected"]);
}

TEST_F(ScreenCommand, TextListShowsGroupsItemsMarksTotalAndHint) {
  const auto result = sample({"projects"});
  ASSERT_EQ(result.code, 0);
  EXPECT_TRUE(result.out.starts_with("Projects  (columns: space freed, apparent size) pre-selected [x]\n"));
  EXPECT_NE(result.out.find("[untouched 30+ days]"), std::string::npos);
  EXPECT_NE(result.out.find("  [x]"), std::string::npos);
  EXPECT_NE(result.out.find("  [ ]"), std::string::npos);
  EXPECT_NE(result.out.find("\nTotal "), std::string::npos);
  EXPECT_TRUE(result.out.ends_with("Preview cleanup with `tidewarden projects clean --selected --dry-run`.\n"));
}

TEST_F(ScreenCommand, CleanWithoutYesPreviewsRunsNothingAndExitsOne) {
  const auto result = sample({"projects", "clean", "--selected"});
  EXPECT_EQ(result.code, 1);
  EXPECT_TRUE(result.out.starts_with("Will run 4 actions, freeing about ")) << result.out;
  EXPECT_EQ(result.err, "\nNothing was deleted. Re-run with --yes to run them, or --dry-run to preview.\n");
}

TEST_F(ScreenCommand, DryRunWinsOverYes) {
  for (const auto& arguments : {std::vector<std::string>{"projects", "clean", "--selected", "--dry-run"},
                                {"projects", "clean", "--selected", "-n", "-y"}}) {
    const auto result = sample(arguments);
    EXPECT_EQ(result.code, 0);
    EXPECT_TRUE(result.out.starts_with("Would run 4 actions")) << result.out;
    EXPECT_EQ(result.err, "");
  }
  const auto json = nlohmann::json::parse(sample({"projects", "clean", "--selected", "-n", "-y", "--json"}).out);
  EXPECT_EQ(json["dryRun"], true);
  EXPECT_EQ(json["confirmed"], false);
  EXPECT_EQ(json["count"], 4);
  EXPECT_EQ(json["items"].size(), 4u);
  EXPECT_EQ(json["items"][0]["action"], "custom action");
  EXPECT_GT(json["wouldFree"].get<std::int64_t>(), 0);
}

TEST_F(ScreenCommand, YesRunsEveryPreselectedActionAndSummarises) {
  const auto result = sample({"projects", "clean", "--selected", "--yes", "--json"});
  ASSERT_EQ(result.code, 0) << result.out << result.err;
  const auto json = nlohmann::json::parse(result.out);
  EXPECT_EQ(json["done"], 4);
  EXPECT_EQ(json["failed"], nlohmann::json::array());
  EXPECT_EQ(json["confirmed"], true);
  const auto preview = nlohmann::json::parse(sample({"projects", "clean", "--selected", "-n", "--json"}).out);
  EXPECT_EQ(json["freed"], preview["wouldFree"]);
}

TEST_F(ScreenCommand, NothingPreselectedIsNothingToDo) {
  // An empty home holds no projects.
  const auto result = runTidewarden({"projects", "clean", "--selected", "--yes"});
  EXPECT_EQ(result.code, 0);
  EXPECT_EQ(result.out, "No pre-selected Projects items. Nothing to do.\n");
}

}  // namespace
}  // namespace tw::test
