#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <nlohmann/json.hpp>

#include "core/history.h"
#include "support/fake_home.h"
#include "support/permissions.h"

namespace tw::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::UnorderedElementsAre;

constexpr std::int64_t day = 86400;

nlohmann::json runJSON(const std::vector<std::string>& arguments) {
  const auto result = runTidewarden(arguments);
  EXPECT_EQ(result.code, 0) << result.err;
  return nlohmann::json::parse(result.out);
}

const nlohmann::json* groupWithId(const nlohmann::json& output, const std::string& id) {
  for (const auto& group : output["groups"]) {
    if (group["id"] == id) return &group;
  }
  return nullptr;
}

std::string badges(const nlohmann::json& of) {
  std::string text;
  for (const auto& badge : of["badges"]) text += " [" + badge.get<std::string>() + "]";
  return text;
}

// Each group as a user reads it: the project, its badges, then its items in order, each
// marked "*" when pre-selected and followed by its own badges.
std::vector<std::string> summaries(const nlohmann::json& output, const std::string& home) {
  std::vector<std::string> lines;
  for (const auto& group : output["groups"]) {
    std::string text = group["id"].get<std::string>().substr(home.size() + 1) + badges(group) + ":";
    for (const auto& item : group["items"]) {
      text += " " + item["name"].get<std::string>() + (item["selected"] ? "*" : "") + badges(item);
    }
    lines.push_back(text);
  }
  return lines;
}

void fakeGitActivity(const std::string& project, std::int64_t secondsAgo) {
  writeFile(project + "/.git/HEAD", "ref: refs/heads/main\n");
  writeFile(project + "/.git/index", "DIRC");
  setModificationTime(project + "/.git/index", secondsAgo);
}

// A home with a dozen projects of different kinds, some idle and some in use.
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

    // Xcode project without git: its folder's own time counts.
    home.file("code/ios/App.xcodeproj/project.pbxproj", 500);
    home.file("code/ios/Podfile", 10);
    home.file("code/ios/build/App.o", 60'000);
    home.file("code/ios/Pods/Alamofire/a.swift", 30'000);

    // Python: a real virtualenv, and a folder that only looks like one.
    home.file("code/py/pyproject.toml", 10);
    home.fileWithContents("code/py/.venv/pyvenv.cfg", "home = /usr/bin\n");
    home.file("code/py/.venv/lib/site.py", 50'000);
    home.file("code/py/.pytest_cache/v/cache", 5'000);
    home.file("code/notvenv/requirements.txt", 10);
    home.file("code/notvenv/.venv/important.txt", 50'000);

    // DerivedData deep inside a Go project.
    home.file("code/tools/go.mod", 10);
    home.file("code/tools/mac/helper/xcode/DerivedData/Build/x.o", 70'000);

    // A monorepo holding a nested repository of its own.
    home.file("code/mono/package.json", 10);
    home.file("code/mono/node_modules/x/index.js", 20'000);
    home.file("code/mono/vendor/lib/Cargo.toml", 10);
    home.file("code/mono/vendor/lib/target/release/lib.a", 120'000);
    fakeGitActivity(home / "code/mono/vendor/lib", 2 * day);

    // A build folder beside only a readme is somebody's own work.
    home.file("code/docs/Gemfile", 10);
    home.file("code/docs/site/README.md", 10);
    home.file("code/docs/site/build/page.html", 40'000);

    // Deeper than projects are looked for.
    home.file("archive/a/b/c/d/e/f/old/package.json", 10);
    home.file("archive/a/b/c/d/e/f/old/node_modules/x/index.js", 40'000);

    // node_modules made of hard links into a shared store gives little back.
    home.file("store/blob.bin", 400'000);
    home.file("code/linked/package.json", 10);
    home.folder("code/linked/node_modules/pkg");
    EXPECT_EQ(::link((home / "store/blob.bin").c_str(), (home / "code/linked/node_modules/pkg/blob.bin").c_str()), 0);

    // A worktree-style checkout: activity comes from the git directory its .git file names.
    home.file("code/main-repo/.git/worktrees/feat/index", 10);
    setModificationTime(home / "code/main-repo/.git/worktrees/feat/index", 40 * day);
    home.fileWithContents("code/feat/.git", "gitdir: ../main-repo/.git/worktrees/feat\n");
    home.file("code/feat/package.json", 10);
    home.file("code/feat/node_modules/y/index.js", 30'000);

    // A .git file that leads nowhere does not stop the project from being listed.
    home.fileWithContents("code/broken/.git", "gitdir: /nowhere/at/all\n");
    home.file("code/broken/Cargo.toml", 10);
    home.file("code/broken/target/out", 25'000);

    // Folder times last: writing inside a folder moves its time.
    setModificationTime(home / "code/ios", 31 * day);
    setModificationTime(home / "code/py", 3 * day);
    setModificationTime(home / "code/tools", 45 * day);
    setModificationTime(home / "code/mono", 100 * day);
    setModificationTime(home / "code/broken", 10 * day);
  }

  FakeHome home;
};

}  // namespace

TEST_F(ProjectsCommand, ListsExactlyTheRebuildableFoldersLargestFirstAndPreselectsIdleProjects) {
  const auto output = runJSON({"projects", "--json"});
  EXPECT_TRUE(output["note"].is_null());
  std::int64_t previousGroup = INT64_MAX;
  for (const auto& group : output["groups"]) {
    EXPECT_LE(group["total"].get<std::int64_t>(), previousGroup) << group["id"];
    previousGroup = group["total"];
    std::int64_t previousItem = INT64_MAX;
    for (const auto& item : group["items"]) {
      EXPECT_LE(item["freeable"].get<std::int64_t>(), previousItem) << item["id"];
      previousItem = item["freeable"];
      EXPECT_LE(item["freeable"], item["size"]) << item["id"];
      EXPECT_EQ(item["action"], "delete ~" + item["path"].get<std::string>().substr(home.path().size()));
    }
  }
  EXPECT_THAT(summaries(output, home.path()),
              UnorderedElementsAre("code/web [untouched 30+ days]: node_modules* .next*",
                                   "code/api: target",  // 29 days is not idle
                                   "code/ios [untouched 30+ days]: build* Pods*", "code/py: .venv .pytest_cache",
                                   "code/tools [untouched 30+ days]: mac/helper/xcode/DerivedData*",
                                   "code/mono [untouched 30+ days]: node_modules*",
                                   "code/mono/vendor/lib: target",  // active inside an idle one
                                   "code/linked: node_modules [mostly shared]",
                                   "code/feat [untouched 30+ days]: node_modules*", "code/broken: target"));

  const auto& web = *groupWithId(output, home / "code/web");
  EXPECT_EQ(web["title"], "web");
  EXPECT_EQ(web["subtitle"].get<std::string>().rfind("~/code/web \u00b7 last active ", 0), 0u) << web["subtitle"];
  EXPECT_TRUE(web["lastActive"].is_string());
  EXPECT_EQ(web["items"][0]["detail"], "Dependencies \u00b7 reinstall with npm/yarn/pnpm/bun install");
  EXPECT_EQ(web["items"][0]["id"], home / "code/web/node_modules");
  EXPECT_GE(web["items"][0]["size"].get<std::int64_t>(), 8 * 40'000);
  const auto& linked = (*groupWithId(output, home / "code/linked"))["items"][0];
  EXPECT_GE(linked["size"].get<std::int64_t>(), 400'000);
  EXPECT_LT(linked["freeable"].get<std::int64_t>() * 2, linked["size"].get<std::int64_t>());
}

TEST_F(ProjectsCommand, CleanDeletesOnlySelectedArtifactsRecordsThemAndKeepsTheSources) {
  const auto result = runTidewarden({"projects", "clean", "--selected", "--yes", "--json"});
  ASSERT_EQ(result.code, 0) << result.out << result.err;
  const auto summary = nlohmann::json::parse(result.out);
  EXPECT_EQ(summary["done"], 7);
  EXPECT_THAT(summary["failed"], IsEmpty());
  EXPECT_GT(summary["freed"].get<std::int64_t>(), 8 * 40'000 + 90'000);
  for (const std::string gone : {"web/node_modules", "web/.next", "ios/build", "ios/Pods",
                                 "tools/mac/helper/xcode/DerivedData", "mono/node_modules", "feat/node_modules"}) {
    EXPECT_FALSE(exists(home / ("code/" + gone))) << gone;
  }
  for (const std::string kept :
       {"web/package.json", "web/src/index.js", "web/.git/index", "ios/App.xcodeproj/project.pbxproj", "ios/Podfile",
        "tools/go.mod", "tools/mac/helper/xcode", "api/target/debug/api", "py/.venv/pyvenv.cfg",
        "mono/vendor/lib/target/release/lib.a", "notvenv/.venv/important.txt", "docs/site/build/page.html",
        "linked/node_modules/pkg/blob.bin"}) {
    EXPECT_TRUE(exists(home / ("code/" + kept))) << kept;
  }
  std::vector<std::string> names;
  for (const auto& entry : home.context().history->entries()) names.push_back(entry.category + ": " + entry.name);
  EXPECT_THAT(names, UnorderedElementsAre("Developer: node_modules", "Developer: .next", "Developer: build",
                                          "Developer: Pods", "Developer: mac/helper/xcode/DerivedData",
                                          "Developer: node_modules", "Developer: node_modules"));
  // Nothing is pre-selected any more.
  EXPECT_THAT(runJSON({"projects", "--selected", "--json"})["groups"], IsEmpty());
}

TEST(ProjectsCommandRoots, UsesTheProjectRootsSettingAndSaysWhatItFoundWhenNothingIsToClean) {
  FakeHome home;
  home.file("outside/app/package.json", 10);
  home.file("outside/app/node_modules/a/index.js", 10'000);
  home.file("outside/empty-project/package.json", 10);  // a project, but nothing to clean
  home.folder("outside/empty-project/.pytest_cache");
  home.file("code/skipped/package.json", 10);
  home.file("code/skipped/node_modules/a/index.js", 10'000);
  writeFile(home / ".config/Tidewarden/settings.json",
            nlohmann::json({{"projectRoots", {home / "outside", "relative/ignored"}}}).dump());
  EXPECT_THAT(summaries(runJSON({"projects", "--json"}), home.path()), ElementsAre("outside/app: node_modules"));

  removeTree(home / "outside/app");
  const auto output = runJSON({"projects", "--json"});
  EXPECT_THAT(output["groups"], IsEmpty());
  EXPECT_EQ(output["note"], "Found 1 project; it holds no dependencies, build output or caches that take space.");

  removeTree(home / "outside/empty-project");
  EXPECT_EQ(runJSON({"projects", "--json"})["note"], "No projects found. Add the folders where you keep your code.");
}

TEST(ProjectsCommandBadInput, UnreadableFoldersAndOddNamesNeitherCrashNorBreakTheOutput) {
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

  const auto runs = withFilePermissionsEnforced([] {
    const auto json = runTidewarden({"projects", "--json"});
    const auto text = runTidewarden({"projects"});
    return nlohmann::json{
        {"code", json.code}, {"out", json.out}, {"err", json.err}, {"textCode", text.code}, {"text", text.out}}
        .dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
  });
  if (!runs) GTEST_SKIP() << "cannot make a folder unreadable here";
  const auto result = nlohmann::json::parse(*runs);
  ASSERT_EQ(result["code"], 0) << result["err"];
  const auto output = nlohmann::json::parse(result["out"].get<std::string>());  // throws on invalid UTF-8
  EXPECT_THAT(summaries(output, home.path()),
              UnorderedElementsAre("code/private: target", "code/caf\xef\xbf\xbd \xef\xbf\xbd: node_modules"));
  EXPECT_EQ(result["textCode"], 0);
  EXPECT_NE(result["text"].get<std::string>().find("node_modules"), std::string::npos);
}

}  // namespace tw::test
