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

std::vector<std::string> groupIds(const nlohmann::json& output) {
  std::vector<std::string> ids;
  for (const auto& group : output["groups"]) ids.push_back(group["id"]);
  return ids;
}

std::vector<std::string> itemNames(const nlohmann::json& group) {
  std::vector<std::string> names;
  for (const auto& item : group["items"]) names.push_back(item["name"]);
  return names;
}

std::vector<bool> selections(const nlohmann::json& group) {
  std::vector<bool> flags;
  for (const auto& item : group["items"]) flags.push_back(item["selected"]);
  return flags;
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
    home.file("code/api/src/main.rs", 200);
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

TEST_F(ProjectsCommand, ListsEveryRebuildableFolderAndNothingElse) {
  const auto output = runJSON({"projects", "--json"});
  EXPECT_EQ(output["provider"], "projects");
  EXPECT_TRUE(output["note"].is_null());
  EXPECT_THAT(groupIds(output),
              UnorderedElementsAre(home / "code/web", home / "code/api", home / "code/ios", home / "code/py",
                                   home / "code/tools", home / "code/mono", home / "code/mono/vendor/lib",
                                   home / "code/linked", home / "code/feat", home / "code/broken"));

  const auto& web = *groupWithId(output, home / "code/web");
  EXPECT_THAT(itemNames(web), ElementsAre("node_modules", ".next"));
  EXPECT_EQ(web["title"], "web");
  EXPECT_EQ(web["items"][0]["detail"], "Dependencies \u00b7 reinstall with npm/yarn/pnpm/bun install");
  EXPECT_EQ(web["items"][0]["path"], home / "code/web/node_modules");
  EXPECT_EQ(web["items"][0]["id"], home / "code/web/node_modules");

  EXPECT_THAT(itemNames(*groupWithId(output, home / "code/api")), ElementsAre("target"));
  EXPECT_THAT(itemNames(*groupWithId(output, home / "code/ios")), ElementsAre("build", "Pods"));
  EXPECT_THAT(itemNames(*groupWithId(output, home / "code/py")), ElementsAre(".venv", ".pytest_cache"));
  EXPECT_THAT(itemNames(*groupWithId(output, home / "code/tools")), ElementsAre("mac/helper/xcode/DerivedData"));
  EXPECT_THAT(itemNames(*groupWithId(output, home / "code/mono")), ElementsAre("node_modules"));
  EXPECT_THAT(itemNames(*groupWithId(output, home / "code/mono/vendor/lib")), ElementsAre("target"));
  EXPECT_EQ((*groupWithId(output, home / "code/mono/vendor/lib"))["title"], "lib");
}

TEST_F(ProjectsCommand, IdleProjectsAreBadgedAndPreselectedActiveOnesAreNot) {
  const auto output = runJSON({"projects", "--json"});
  const auto badges = [&](const std::string& id) { return (*groupWithId(output, id))["badges"]; };
  const auto selected = [&](const std::string& id) { return selections(*groupWithId(output, id)); };

  EXPECT_EQ(badges(home / "code/web"), nlohmann::json({"untouched 30+ days"}));
  EXPECT_THAT(selected(home / "code/web"), ElementsAre(true, true));
  EXPECT_EQ(badges(home / "code/api"), nlohmann::json::array());
  EXPECT_THAT(selected(home / "code/api"), ElementsAre(false));
  EXPECT_EQ(badges(home / "code/ios"), nlohmann::json({"untouched 30+ days"}));
  EXPECT_THAT(selected(home / "code/ios"), ElementsAre(true, true));
  EXPECT_THAT(selected(home / "code/py"), ElementsAre(false, false));
  EXPECT_THAT(selected(home / "code/tools"), ElementsAre(true));
  // The monorepo is idle, the repository inside it is not.
  EXPECT_THAT(selected(home / "code/mono"), ElementsAre(true));
  EXPECT_THAT(selected(home / "code/mono/vendor/lib"), ElementsAre(false));
  EXPECT_THAT(selected(home / "code/feat"), ElementsAre(true));
  EXPECT_THAT(selected(home / "code/broken"), ElementsAre(false));

  const auto& web = *groupWithId(output, home / "code/web");
  EXPECT_EQ(web["subtitle"].get<std::string>().rfind("~/code/web \u00b7 last active ", 0), 0u) << web["subtitle"];
  ASSERT_TRUE(web["lastActive"].is_string());

  std::int64_t selectedTotal = 0;
  for (const auto& group : output["groups"]) {
    for (const auto& item : group["items"]) {
      if (item["selected"]) selectedTotal += item["freeable"].get<std::int64_t>();
    }
  }
  EXPECT_EQ(output["selected"], selectedTotal);
}

TEST_F(ProjectsCommand, SizesAreMeasuredAndOrderedLargestFirst) {
  const auto output = runJSON({"projects", "--json"});
  std::int64_t grandTotal = 0;
  std::int64_t previousTotal = INT64_MAX;
  for (const auto& group : output["groups"]) {
    std::int64_t total = 0;
    std::int64_t previousItem = INT64_MAX;
    for (const auto& item : group["items"]) {
      const std::int64_t size = item["size"];
      const std::int64_t freeable = item["freeable"];
      EXPECT_GT(size, 0) << item["id"];
      EXPECT_LE(freeable, size) << item["id"];
      EXPECT_LE(freeable, previousItem) << item["id"];
      previousItem = freeable;
      total += freeable;
      EXPECT_EQ(item["action"], "delete " + item["path"].get<std::string>().replace(0, home.path().size(), "~"));
    }
    EXPECT_EQ(group["total"], total);
    EXPECT_LE(total, previousTotal) << group["id"];
    previousTotal = total;
    grandTotal += total;
  }
  EXPECT_EQ(output["total"], grandTotal);

  const auto& webModules = (*groupWithId(output, home / "code/web"))["items"][0];
  EXPECT_GE(webModules["size"].get<std::int64_t>(), 8 * 40'000);
  EXPECT_THAT(webModules["badges"], IsEmpty());
}

TEST_F(ProjectsCommand, HardLinkedDependenciesAreMarkedMostlyShared) {
  const auto output = runJSON({"projects", "--json"});
  const auto& linked = (*groupWithId(output, home / "code/linked"))["items"][0];
  EXPECT_EQ(linked["name"], "node_modules");
  EXPECT_GE(linked["size"].get<std::int64_t>(), 400'000);
  EXPECT_LT(linked["freeable"].get<std::int64_t>() * 2, linked["size"].get<std::int64_t>());
  EXPECT_EQ(linked["badges"], nlohmann::json({"mostly shared"}));
}

TEST_F(ProjectsCommand, SelectedListKeepsOnlyIdleProjects) {
  const auto output = runJSON({"projects", "--selected", "--json"});
  EXPECT_THAT(groupIds(output), UnorderedElementsAre(home / "code/web", home / "code/ios", home / "code/tools",
                                                     home / "code/mono", home / "code/feat"));
}

TEST_F(ProjectsCommand, CleanDeletesOnlySelectedArtifactsAndRecordsThem) {
  const auto preview = runTidewarden({"projects", "clean", "--selected"});
  EXPECT_EQ(preview.code, 1);
  EXPECT_TRUE(exists(home / "code/web/node_modules"));

  const auto dryRun = runTidewarden({"projects", "clean", "--selected", "--dry-run", "--yes"});
  EXPECT_EQ(dryRun.code, 0);
  EXPECT_TRUE(exists(home / "code/web/node_modules"));

  const auto result = runTidewarden({"projects", "clean", "--selected", "--yes", "--json"});
  ASSERT_EQ(result.code, 0) << result.out << result.err;
  const auto summary = nlohmann::json::parse(result.out);
  EXPECT_EQ(summary["done"], 7);
  EXPECT_THAT(summary["failed"], IsEmpty());
  EXPECT_GT(summary["freed"].get<std::int64_t>(), 8 * 40'000 + 90'000);

  for (const char* gone :
       {"code/web/node_modules", "code/web/.next", "code/ios/build", "code/ios/Pods",
        "code/tools/mac/helper/xcode/DerivedData", "code/mono/node_modules", "code/feat/node_modules"}) {
    EXPECT_FALSE(exists(home / gone)) << gone;
  }
  for (const char* kept : {"code/web/package.json", "code/web/src/index.js", "code/web/.git/index",
                           "code/ios/App.xcodeproj/project.pbxproj", "code/ios/Podfile", "code/tools/go.mod",
                           "code/tools/mac/helper/xcode", "code/api/target/debug/api", "code/py/.venv/pyvenv.cfg",
                           "code/mono/vendor/lib/target/release/lib.a", "code/notvenv/.venv/important.txt",
                           "code/docs/site/build/page.html", "code/linked/node_modules/pkg/blob.bin",
                           "archive/a/b/c/d/e/f/old/node_modules/x/index.js", "store/blob.bin"}) {
    EXPECT_TRUE(exists(home / kept)) << kept;
  }

  const auto history = History::entries();
  std::vector<std::string> names;
  for (const auto& entry : history) {
    EXPECT_EQ(entry.category, "Developer");
    names.push_back(entry.name);
  }
  EXPECT_THAT(names, UnorderedElementsAre("node_modules", ".next", "build", "Pods", "mac/helper/xcode/DerivedData",
                                          "node_modules", "node_modules"));

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
  EXPECT_THAT(groupIds(output), ElementsAre(home / "outside/app"));
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
  std::vector<std::string> titles;
  for (const auto& group : output["groups"]) titles.push_back(group["title"]);
  EXPECT_THAT(titles, UnorderedElementsAre("private", "caf\xef\xbf\xbd \xef\xbf\xbd"));
  EXPECT_THAT(itemNames(*groupWithId(output, home / "code/private")), ElementsAre("target"));

  const auto text = runTidewarden({"projects"});
  EXPECT_EQ(text.code, 0);
  EXPECT_NE(text.out.find("node_modules"), std::string::npos);
}

}  // namespace tw::test
