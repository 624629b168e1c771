#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <map>

#include "core/date.h"
#include "screens/projects.h"
#include "support/fake_home.h"
#include "support/permissions.h"

namespace tw::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

std::vector<std::string> sorted(std::vector<std::string> paths) {
  std::sort(paths.begin(), paths.end());
  return paths;
}

// path -> hint, for one Found.
std::map<std::string, std::string> artifactMap(const Projects::Found& found) {
  std::map<std::string, std::string> map;
  for (const auto& artifact : found.artifacts) map[artifact.path] = artifact.hint;
  return map;
}

std::string nested(const std::string& base, int levels) {
  std::string path = base;
  for (int level = 1; level <= levels; ++level) path += "/d" + std::to_string(level);
  return path;
}

std::int64_t secondsAgo(const std::optional<Date>& date) {
  return secondsSince1970(std::chrono::system_clock::now()) - secondsSince1970(*date);
}

}  // namespace

TEST(ProjectDiscovery, FindsProjectsByManifestOrGitAndStopsInsideThem) {
  FakeHome home;
  home.file("code/web/package.json");
  home.file("code/web/packages/inner/package.json");  // inside a project: not a project of its own
  home.folder("code/tool/.git");
  home.fileWithContents("code/linked/.git", "gitdir: /elsewhere\n");
  home.file("code/game/ProjectSettings/ProjectVersion.txt");
  home.file("notes/todo.txt");

  EXPECT_EQ(sorted(Projects::discover({home.path()})),
            sorted({home / "code/web", home / "code/tool", home / "code/linked", home / "code/game"}));
}

TEST(ProjectDiscovery, SkipsHiddenLibraryMediaDependencyAndPackageFolders) {
  FakeHome home;
  home.file("Library/Caches/thing/package.json");
  home.file("Music/band/package.json");
  home.file(".config/tool/package.json");
  home.file("stuff/node_modules/left-pad/package.json");
  home.file("Apps/Editor.app/Contents/Resources/package.json");
  home.file("Apps/Photos.PhotosLibrary/db/package.json");
  home.file("real/package.json");

  EXPECT_THAT(Projects::discover({home.path()}), ElementsAre(home / "real"));
}

TEST(ProjectDiscovery, LooksSixLevelsDownAndNoFurther) {
  FakeHome home;
  const std::string six = nested(home / "deep", 5);  // deep is level 1, d5 is level 6
  writeFile(six + "/Cargo.toml", "");
  const std::string seven = nested(home / "deeper", 6);
  writeFile(seven + "/Cargo.toml", "");

  EXPECT_THAT(Projects::discover({home.path()}), ElementsAre(six));
}

TEST(ProjectDiscovery, RootsInOrderEachProjectOnceAndUnreadableOrLinkedFoldersAreSkipped) {
  if (!enforceFilePermissions()) GTEST_SKIP() << "cannot make a folder unreadable here";
  FakeHome home;
  home.file("a/one/go.mod");
  home.file("b/two/Gemfile");
  home.file("elsewhere/linked/pyproject.toml");
  ASSERT_EQ(::symlink((home / "elsewhere/linked").c_str(), (home / "b/link").c_str()), 0);
  home.file("b/locked/three/go.mod");
  ASSERT_EQ(::chmod((home / "b/locked").c_str(), 0), 0);

  EXPECT_THAT(Projects::discover({home / "b", home / "a", home / "a", home / "missing"}),
              ElementsAre(home / "b/two", home / "a/one"));
}

TEST(ProjectArtifacts, FindsEachKindOnceAndNeverWalksIntoWhatItFound) {
  FakeHome home;
  const std::string web = home / "web";
  home.file("web/package.json");
  home.file("web/node_modules/react/package.json");
  home.file("web/node_modules/react/node_modules/x/index.js");
  home.folder("web/.next/cache");
  home.folder("web/coverage");
  home.folder("web/src/components");
  home.folder("web/ios/DerivedData/Build");
  home.file("web/ios/App.xcodeproj/project.pbxproj");
  home.folder("web/ios/build");
  home.folder("web/docs/build");  // beside a readme only: walked into, not offered
  home.file("web/docs/README.md");
  home.folder("web/docs/build/tools/.pytest_cache");

  const auto found = Projects::artifacts(web);
  ASSERT_EQ(found.size(), 1u);
  EXPECT_EQ(found[0].root, web);
  EXPECT_EQ(artifactMap(found[0]),
            (std::map<std::string, std::string>{
                {web + "/node_modules", "Dependencies \u00b7 reinstall with npm/yarn/pnpm/bun install"},
                {web + "/.next", "Framework build cache \u00b7 rebuilt on next dev/build"},
                {web + "/coverage", "Test coverage report"},
                {web + "/ios/DerivedData", "Xcode build output"},
                {web + "/ios/build", "Build output \u00b7 rebuilt on next build"},
                {web + "/docs/build/tools/.pytest_cache", "Python tool cache"},
            }));
}

TEST(ProjectArtifacts, NestedRepositoryBecomesItsOwnProject) {
  FakeHome home;
  const std::string mono = home / "mono";
  home.file("mono/package.json");
  home.folder("mono/node_modules/a");
  home.folder("mono/vendor/lib/.git");
  home.file("mono/vendor/lib/Cargo.toml");
  home.folder("mono/vendor/lib/target/debug");
  home.folder("mono/vendor/lib/deeper/DerivedData");

  const auto found = Projects::artifacts(mono);
  ASSERT_EQ(found.size(), 2u);
  EXPECT_EQ(found[0].root, mono);
  EXPECT_THAT(artifactMap(found[0]), ElementsAre(std::pair{mono + "/node_modules", Projects::rules()[0].hint}));
  EXPECT_EQ(found[1].root, mono + "/vendor/lib");
  EXPECT_EQ(sorted({found[1].artifacts[0].path, found[1].artifacts[1].path}),
            sorted({mono + "/vendor/lib/target", mono + "/vendor/lib/deeper/DerivedData"}));
}

TEST(ProjectArtifacts, NodeModulesAndPackagesAreNeverWalkedEvenWhenNotArtifacts) {
  FakeHome home;
  const std::string project = home / "p";
  home.file("p/go.mod");
  home.folder("p/node_modules/pkg/DerivedData");  // no package.json beside node_modules
  home.folder("p/Tool.app/Contents/DerivedData");
  home.folder("p/.hidden/DerivedData");  // hidden folders are walked inside a project

  const auto found = Projects::artifacts(project);
  ASSERT_EQ(found.size(), 1u);
  EXPECT_EQ(artifactMap(found[0]),
            (std::map<std::string, std::string>{{project + "/.hidden/DerivedData", "Xcode build output"}}));
}

TEST(ProjectArtifacts, StopsDescendingTenLevelsDown) {
  FakeHome home;
  const std::string project = home / "p";
  home.file("p/pyproject.toml");
  // The folder walked at depth 10 still has its entries matched; one level deeper is not walked.
  const std::string reachable = nested(project, 10) + "/.mypy_cache";
  const std::string tooDeep = nested(project + "/x", 10) + "/.mypy_cache";
  makeFolders(reachable);
  makeFolders(tooDeep);

  const auto found = Projects::artifacts(project);
  ASSERT_EQ(found.size(), 1u);
  EXPECT_THAT(artifactMap(found[0]), ElementsAre(std::pair{reachable, std::string("Python tool cache")}));
}

TEST(ProjectArtifacts, SymbolicLinksAreNeitherArtifactsNorWalked) {
  FakeHome home;
  const std::string project = home / "p";
  home.file("p/package.json");
  home.folder("store/node_modules/dep");
  home.folder("outside/DerivedData");
  ASSERT_EQ(::symlink((home / "store/node_modules").c_str(), (project + "/node_modules").c_str()), 0);
  ASSERT_EQ(::symlink((home / "outside").c_str(), (project + "/linked").c_str()), 0);

  const auto found = Projects::artifacts(project);
  ASSERT_EQ(found.size(), 1u);
  EXPECT_THAT(found[0].artifacts, IsEmpty());
}

TEST(ProjectArtifacts, UnreadableFoldersContributeNothing) {
  if (!enforceFilePermissions()) GTEST_SKIP() << "cannot make a folder unreadable here";
  FakeHome home;
  const std::string project = home / "p";
  home.file("p/package.json");
  home.folder("p/node_modules/x");
  home.folder("p/secret/DerivedData");
  ASSERT_EQ(::chmod((project + "/secret").c_str(), 0), 0);

  const auto found = Projects::artifacts(project);
  ASSERT_EQ(found.size(), 1u);
  EXPECT_THAT(artifactMap(found[0]), ElementsAre(std::pair{project + "/node_modules", Projects::rules()[0].hint}));

  ASSERT_EQ(::chmod(project.c_str(), 0), 0);
  const auto none = Projects::artifacts(project);
  ASSERT_EQ(none.size(), 1u);
  EXPECT_THAT(none[0].artifacts, IsEmpty());
}

TEST(ProjectActivity, ComesFromTheGitIndexThenHeadThenTheFolder) {
  FakeHome home;
  const std::string repo = home.folder("repo");
  home.file("repo/.git/index");
  home.file("repo/.git/HEAD");
  setModificationTime(repo + "/.git/index", 5 * 86400);
  setModificationTime(repo + "/.git/HEAD", 9 * 86400);
  setModificationTime(repo, 40 * 86400);
  EXPECT_EQ(secondsAgo(Projects::lastActive(repo)) / 86400, 5);

  ::unlink((repo + "/.git/index").c_str());
  setModificationTime(repo, 40 * 86400);
  EXPECT_EQ(secondsAgo(Projects::lastActive(repo)) / 86400, 9);

  const std::string plain = home.folder("plain");
  home.file("plain/go.mod");
  setModificationTime(plain, 31 * 86400);
  EXPECT_EQ(secondsAgo(Projects::lastActive(plain)) / 86400, 31);

  EXPECT_FALSE(Projects::lastActive(home / "does-not-exist").has_value());
}

TEST(ProjectActivity, FollowsTheGitdirLineOfAGitFile) {
  FakeHome home;
  home.file("main/.git/worktrees/feature/index");
  setModificationTime(home / "main/.git/worktrees/feature/index", 3 * 86400);
  home.file("elsewhere/modules/sub/HEAD");
  setModificationTime(home / "elsewhere/modules/sub/HEAD", 12 * 86400);

  const std::string absolute = home.fileWithContents(
      "feature/.git", "# written by git\ngitdir:   " + (home / "main/.git/worktrees/feature") + "  \n");
  setModificationTime(home / "feature", 60 * 86400);
  EXPECT_EQ(secondsAgo(Projects::lastActive(home / "feature")) / 86400, 3);

  // A relative gitdir is taken from the project folder, not from the working directory.
  home.fileWithContents("proj/sub/.git", "gitdir: ../../elsewhere/modules/sub\n");
  setModificationTime(home / "proj/sub", 60 * 86400);
  EXPECT_EQ(secondsAgo(Projects::lastActive(home / "proj/sub")) / 86400, 12);
  (void)absolute;
}

TEST(ProjectActivity, BrokenGitFilesFallBackToTheFolder) {
  FakeHome home;
  home.fileWithContents("nogitdir/.git", "this is not what git writes\n");
  setModificationTime(home / "nogitdir", 45 * 86400);
  EXPECT_EQ(secondsAgo(Projects::lastActive(home / "nogitdir")) / 86400, 45);

  home.fileWithContents("nowhere/.git", "gitdir: /no/such/place/.git/worktrees/x\n");
  setModificationTime(home / "nowhere", 20 * 86400);
  EXPECT_EQ(secondsAgo(Projects::lastActive(home / "nowhere")) / 86400, 20);

  home.fileWithContents("empty/.git", "gitdir:\n");
  setModificationTime(home / "empty", 33 * 86400);
  EXPECT_EQ(secondsAgo(Projects::lastActive(home / "empty")) / 86400, 33);

  home.fileWithContents("binary/.git", std::string("\xff\xfe\0gitdir: \xc3", 12));
  setModificationTime(home / "binary", 2 * 86400);
  EXPECT_EQ(secondsAgo(Projects::lastActive(home / "binary")) / 86400, 2);
}

TEST(ProjectActivity, IdleMeansStrictlyMoreThanThirtyDays) {
  const Date now = std::chrono::system_clock::now();
  EXPECT_FALSE(Projects::idle(std::nullopt, now));
  EXPECT_FALSE(Projects::idle(now - std::chrono::seconds(2'592'000), now));
  EXPECT_TRUE(Projects::idle(now - std::chrono::seconds(2'592'001), now));
  EXPECT_FALSE(Projects::idle(now - std::chrono::hours(24 * 29), now));
  EXPECT_TRUE(Projects::idle(now - std::chrono::hours(24 * 31), now));
}

}  // namespace tw::test
