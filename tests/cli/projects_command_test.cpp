#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <nlohmann/json.hpp>

#include "core/history.h"
#include "support/fake_home.h"
#include "support/permissions.h"
#include "support/screen_output.h"

namespace tw::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::UnorderedElementsAre;
using ::testing::UnorderedElementsAreArray;

constexpr std::int64_t day = 86400;

nlohmann::json runJSON(const std::vector<std::string>& arguments) {
  const auto result = runTidewarden(arguments);
  EXPECT_EQ(result.code, 0) << result.err;
  return nlohmann::json::parse(result.out);
}

void fakeGitActivity(const std::string& project, std::int64_t secondsAgo) {
  writeFile(project + "/.git/HEAD", "ref: refs/heads/main\n");
  writeFile(project + "/.git/index", "DIRC");
  setModificationTime(project + "/.git/index", secondsAgo);
}

// Projects of different kinds, idle and in use. Which folders count as projects and
// artifacts, and how activity is read, is the walker's business; this is about the screen.
class ProjectsCommand : public ::testing::Test {
 protected:
  void SetUp() override {
    // Idle npm project: dependencies and a framework cache.
    home.file("code/web/package.json", 20);
    home.file("code/web/src/index.js", 300);
    for (int i = 0; i < 8; ++i) home.file("code/web/node_modules/dep" + std::to_string(i) + "/index.js", 40'000);
    home.file("code/web/.next/cache/chunk.js", 90'000);
    fakeGitActivity(home / "code/web", 31 * day);

    // Active Cargo project (29 days is not idle).
    home.file("code/api/Cargo.toml", 20);
    home.file("code/api/target/debug/api", 150'000);
    fakeGitActivity(home / "code/api", 29 * day);

    // node_modules made of hard links into a shared store gives little back.
    home.file("store/blob.bin", 400'000);
    home.file("code/linked/package.json", 10);
    home.folder("code/linked/node_modules/pkg");
    EXPECT_EQ(::link((home / "store/blob.bin").c_str(), (home / "code/linked/node_modules/pkg/blob.bin").c_str()), 0);

    // Idle Go project without git, with DerivedData deep inside; its folder's time counts.
    home.file("code/tools/go.mod", 10);
    home.file("code/tools/mac/helper/xcode/DerivedData/Build/x.o", 70'000);
    setModificationTime(home / "code/tools", 45 * day);
  }

  FakeHome home;
};

}  // namespace

TEST_F(ProjectsCommand, ListsEveryRebuildableFolderLargestFirstAndPreselectsOnlyIdleProjects) {
  const auto output = runJSON({"projects", "--json"});
  EXPECT_EQ(output["provider"], "projects");
  EXPECT_TRUE(output["note"].is_null());
  // Per project: its items in order and which are pre-selected (idle 30+ days).
  const std::vector<std::tuple<std::string, std::vector<std::string>, std::vector<bool>>> expected{
      {"code/web", {"node_modules", ".next"}, {true, true}},
      {"code/api", {"target"}, {false}},
      {"code/linked", {"node_modules"}, {false}},
      {"code/tools", {"mac/helper/xcode/DerivedData"}, {true}},
  };
  std::vector<std::string> ids;
  for (const auto& [project, items, selected] : expected) {
    ids.push_back(home / project);
    const auto& group = groupWithId(output, home / project);
    EXPECT_EQ(fieldOf(group["items"], "name"), items) << project;
    EXPECT_EQ(fieldOf<bool>(group["items"], "selected"), selected) << project;
    EXPECT_EQ(group["badges"], selected[0] ? nlohmann::json({"untouched 30+ days"}) : nlohmann::json::array())
        << project;
  }
  EXPECT_THAT(fieldOf(output["groups"], "id"), UnorderedElementsAreArray(ids));

  const auto& web = groupWithId(output, home / "code/web");
  EXPECT_EQ(web["title"], "web");
  EXPECT_TRUE(web["subtitle"].get<std::string>().starts_with("~/code/web \u00b7 last active ")) << web["subtitle"];
  EXPECT_TRUE(web["lastActive"].is_string());
  const auto& modules = web["items"][0];
  EXPECT_EQ(modules["detail"], "Dependencies \u00b7 reinstall with npm/yarn/pnpm/bun install");
  EXPECT_EQ(modules["path"], home / "code/web/node_modules");
  EXPECT_EQ(modules["id"], home / "code/web/node_modules");
  EXPECT_GE(modules["size"].get<std::int64_t>(), 8 * 40'000);
  EXPECT_THAT(modules["badges"], IsEmpty());
  // node_modules made of hard links into a shared store is marked as giving little back.
  const auto& linked = groupWithId(output, home / "code/linked")["items"][0];
  EXPECT_GE(linked["size"].get<std::int64_t>(), 400'000);
  EXPECT_LT(linked["freeable"].get<std::int64_t>() * 2, linked["size"].get<std::int64_t>());
  EXPECT_EQ(linked["badges"], nlohmann::json({"mostly shared"}));

  // Largest first, groups and items alike; totals are checked with the screen's JSON.
  std::int64_t previousTotal = INT64_MAX;
  for (const auto& group : output["groups"]) {
    EXPECT_LE(group["total"].get<std::int64_t>(), previousTotal) << group["id"];
    previousTotal = group["total"];
    std::int64_t previousItem = INT64_MAX;
    for (const auto& item : group["items"]) {
      const std::int64_t size = item["size"], freeable = item["freeable"];
      EXPECT_GT(size, 0) << item["id"];
      EXPECT_LE(freeable, size) << item["id"];
      EXPECT_LE(freeable, previousItem) << item["id"];
      previousItem = freeable;
      EXPECT_EQ(item["action"], "delete " + item["path"].get<std::string>().replace(0, home.path().size(), "~"));
    }
  }

  EXPECT_THAT(fieldOf(runJSON({"projects", "--selected", "--json"})["groups"], "id"),
              UnorderedElementsAre(home / "code/web", home / "code/tools"));
}

TEST_F(ProjectsCommand, CleanDeletesOnlySelectedArtifactsAndRecordsThem) {
  const auto result = runTidewarden({"projects", "clean", "--selected", "--yes", "--json"});
  ASSERT_EQ(result.code, 0) << result.out << result.err;
  const auto summary = nlohmann::json::parse(result.out);
  EXPECT_EQ(summary["done"], 3);
  EXPECT_THAT(summary["failed"], IsEmpty());
  EXPECT_GT(summary["freed"].get<std::int64_t>(), 8 * 40'000 + 90'000 + 70'000);

  for (const char* gone : {"code/web/node_modules", "code/web/.next", "code/tools/mac/helper/xcode/DerivedData"}) {
    EXPECT_FALSE(exists(home / gone)) << gone;
  }
  for (const char* kept : {"code/web/package.json", "code/web/src/index.js", "code/web/.git/index", "code/tools/go.mod",
                           "code/tools/mac/helper/xcode", "code/api/target/debug/api",
                           "code/linked/node_modules/pkg/blob.bin", "store/blob.bin"}) {
    EXPECT_TRUE(exists(home / kept)) << kept;
  }

  std::vector<std::string> names;
  for (const auto& entry : History::entries()) {
    EXPECT_EQ(entry.category, "Developer");
    names.push_back(entry.name);
  }
  EXPECT_THAT(names, UnorderedElementsAre("node_modules", ".next", "mac/helper/xcode/DerivedData"));

  // Nothing is pre-selected any more, so a second run has nothing to do.
  const auto again = runTidewarden({"projects", "clean", "--selected", "--yes"});
  EXPECT_EQ(again.code, 0);
  EXPECT_EQ(again.out, "No pre-selected Projects items. Nothing to do.\n");
}

TEST(ProjectsCommandRoots, UsesTheProjectRootsSettingInsteadOfHome) {
  FakeHome home;
  home.file("outside/app/package.json", 10);
  home.file("outside/app/node_modules/a/index.js", 10'000);
  home.file("code/skipped/package.json", 10);
  home.file("code/skipped/node_modules/a/index.js", 10'000);
  writeFile(home / ".config/Tidewarden/settings.json",
            nlohmann::json({{"projectRoots", {home / "outside", "relative/ignored"}}}).dump());

  const auto output = runJSON({"projects", "--json"});
  EXPECT_THAT(fieldOf(output["groups"], "id"), ElementsAre(home / "outside/app"));
}

TEST(ProjectsCommandEmpty, NoProjectsGivesTheNote) {
  FakeHome home;
  home.file("Documents/letter.txt", 100);
  home.file("code/empty-project/package.json", 10);  // a project, but nothing to clean
  home.folder("code/empty-project/.pytest_cache");

  const auto output = runJSON({"projects", "--json"});
  EXPECT_THAT(output["groups"], IsEmpty());
  EXPECT_EQ(output["note"], "No projects found. Add the folders where you keep your code.");
  EXPECT_EQ(output["total"], 0);
}

TEST(ProjectsCommandBadInput, UnreadableFoldersAndOddNamesNeitherCrashNorBreakTheOutput) {
  if (!enforceFilePermissions()) GTEST_SKIP() << "cannot make a folder unreadable here";
  FakeHome home;
  home.file("code/locked/package.json", 10);
  home.file("code/locked/node_modules/a/index.js", 10'000);
  home.file("code/private/Cargo.toml", 10);
  home.file("code/private/secret/DerivedData/x.o", 10'000);
  home.file("code/private/target/out", 20'000);
  const std::string odd = home / "code/caf\xe9 \xff";
  writeFile(odd + "/package.json", "{}");
  writeFilledFile(odd + "/node_modules/m/index.js", 10'000);
  ASSERT_EQ(::chmod((home / "code/locked").c_str(), 0), 0);
  ASSERT_EQ(::chmod((home / "code/private/secret").c_str(), 0), 0);

  const auto result = runTidewarden({"projects", "--json"});
  ASSERT_EQ(result.code, 0) << result.err;
  const auto output = nlohmann::json::parse(result.out);  // throws on invalid UTF-8
  EXPECT_THAT(fieldOf(output["groups"], "title"), UnorderedElementsAre("private", "caf\xef\xbf\xbd \xef\xbf\xbd"));
  EXPECT_THAT(fieldOf(groupWithId(output, home / "code/private")["items"], "name"), ElementsAre("target"));

  const auto text = runTidewarden({"projects"});
  EXPECT_EQ(text.code, 0);
  EXPECT_NE(text.out.find("node_modules"), std::string::npos);
}

}  // namespace tw::test
