#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <map>

#include "core/date.h"
#include "screens/projects.h"
#include "support/fake_home.h"
#include "support/permissions.h"

namespace tw::test {
namespace {

using ::testing::ElementsAre;
using ::testing::UnorderedElementsAre;
using Artifacts = std::map<std::string, std::string>;  // path -> hint
using Listing = std::vector<std::pair<std::string, Artifacts>>;

constexpr std::int64_t day = 86400;

// Every Found of one project in order: its root and its artifacts.
Listing listing(const std::string& project) {
  Listing found;
  for (const auto& each : Projects::artifacts(project)) {
    Artifacts artifacts;
    for (const auto& artifact : each.artifacts) artifacts[artifact.path] = artifact.hint;
    found.emplace_back(each.root, artifacts);
  }
  return found;
}

std::string nested(const std::string& base, int levels) {
  std::string path = base;
  for (int level = 1; level <= levels; ++level) path += "/d" + std::to_string(level);
  return path;
}

}  // namespace

TEST(ProjectDiscovery, FindsProjectsSixLevelsDownOutsideSystemMediaDependencyAndPackageFolders) {
  FakeHome home;
  home.file("code/web/package.json");
  home.file("code/web/packages/inner/package.json");  // inside a project: not a project of its own
  home.folder("code/tool/.git");
  home.fileWithContents("code/linked/.git", "gitdir: /elsewhere\n");
  home.file("code/game/ProjectSettings/ProjectVersion.txt");
  home.file("notes/todo.txt");
  for (const char* hidden : {"Library/Caches/thing", "Music/band", ".config/tool", "stuff/node_modules/left-pad",
                             "Apps/Editor.app/Contents/Resources", "Apps/Photos.PhotosLibrary/db"}) {
    home.file(std::string(hidden) + "/package.json");
  }
  const std::string six = nested(home / "deep", 5);  // deep is level 1, d5 is level 6
  writeFile(six + "/Cargo.toml", "");
  writeFile(nested(home / "deeper", 6) + "/Cargo.toml", "");

  EXPECT_THAT(
      Projects::discover({home.path()}, {}, home.path()),
      UnorderedElementsAre(home / "code/web", home / "code/tool", home / "code/linked", home / "code/game", six));
}

TEST(ProjectDiscovery, RootsInOrderEachProjectOnceAndUnreadableOrLinkedFoldersAreSkipped) {
  FakeHome home;
  home.file("a/one/go.mod");
  home.file("b/two/Gemfile");
  home.file("elsewhere/linked/pyproject.toml");
  ASSERT_EQ(::symlink((home / "elsewhere/linked").c_str(), (home / "b/link").c_str()), 0);
  home.file("b/locked/three/go.mod");
  ASSERT_EQ(::chmod((home / "b/locked").c_str(), 0), 0);

  const auto found = withFilePermissionsEnforced([&] {
    std::string lines;
    for (const auto& project :
         Projects::discover({home / "b", home / "a", home / "a", home / "missing"}, {}, home.path())) {
      lines += project + "\n";
    }
    // A project folder that cannot be read has nothing to offer.
    ::chmod((home / "a/one").c_str(), 0);
    lines += listing(home / "a/one") == Listing{{home / "a/one", {}}} ? "unreadable is empty" : "unreadable listed";
    return lines;
  });
  if (!found) GTEST_SKIP() << "cannot make a folder unreadable here";
  EXPECT_EQ(*found, home / "b/two" + "\n" + home / "a/one" + "\nunreadable is empty");
}

TEST(ProjectArtifacts, FindsEachKindOnceWithoutWalkingIntoArtifactsPackagesOrLinks) {
  FakeHome home;
  const std::string web = home / "web";
  home.file("web/package.json");
  home.file("web/node_modules/react/package.json");
  home.file("web/node_modules/react/node_modules/x/index.js");
  home.folder("web/coverage");
  home.folder("web/docs/build/tools/.pytest_cache");  // a build beside a readme only: walked, not offered
  home.file("web/docs/README.md");
  // A repository nested inside is a project of its own, listed after the outer one.
  home.folder("web/vendor/lib/.git");
  home.file("web/vendor/lib/Cargo.toml");
  home.folder("web/vendor/lib/target/debug");
  home.folder("web/vendor/lib/deeper/DerivedData");

  const std::string go = home / "go";
  home.file("go/go.mod");
  home.folder("go/node_modules/pkg/DerivedData");  // no package.json beside it, yet never walked
  home.folder("go/Tool.app/Contents/DerivedData");
  home.folder("go/Kit.xcodeproj/xcuserdata/DerivedData");
  home.folder("go/.hidden/DerivedData");  // hidden folders are walked inside a project
  // The folder walked at depth 10 still has its entries matched; one level deeper is not walked.
  makeFolders(nested(go, 10) + "/.mypy_cache");
  makeFolders(nested(go + "/x", 10) + "/.mypy_cache");
  home.folder("outside/DerivedData");
  ASSERT_EQ(::symlink((home / "outside").c_str(), (go + "/linked").c_str()), 0);

  const std::string pnpm = home / "pnpm";
  home.file("pnpm/package.json");
  home.folder("store/node_modules/dep");
  ASSERT_EQ(::symlink((home / "store/node_modules").c_str(), (pnpm + "/node_modules").c_str()), 0);

  EXPECT_EQ(listing(web),
            (Listing{{web,
                      {{web + "/node_modules", Projects::rules()[0].hint},
                       {web + "/coverage", "Test coverage report"},
                       {web + "/docs/build/tools/.pytest_cache", "Python tool cache"}}},
                     {web + "/vendor/lib",
                      {{web + "/vendor/lib/target", "Rust/Maven build output \u00b7 rebuilt on next build"},
                       {web + "/vendor/lib/deeper/DerivedData", "Xcode build output"}}}}));
  EXPECT_EQ(listing(go), (Listing{{go,
                                   {{go + "/.hidden/DerivedData", "Xcode build output"},
                                    {nested(go, 10) + "/.mypy_cache", "Python tool cache"}}}}));
  EXPECT_EQ(listing(pnpm), (Listing{{pnpm, {}}}));
}

// The command tests cover the index before HEAD, the folder's own time, a relative
// gitdir line; these are the rest.
TEST(ProjectActivity, ComesFromTheGitIndexThenHeadThenTheFolder) {
  FakeHome home;
  const auto aged = [&](const std::string& relative, std::int64_t days) {
    home.file(relative);
    setModificationTime(home / relative, days * day);
  };
  aged("headonly/.git/HEAD", 9);
  aged("main/.git/worktrees/feature/index", 3);
  const struct {
    std::string folder;
    std::optional<std::string> gitFile;  // a .git file instead of a folder
    std::int64_t days;
  } cases[] = {
      {"headonly", std::nullopt, 9},
      {"feature", "# written by git\ngitdir:   " + (home / "main/.git/worktrees/feature") + "  \n", 3},
      // Broken .git files: the folder's own time counts.
      {"nogitdir", "this is not what git writes\n", 40},
      {"nowhere", "gitdir: /no/such/place/.git/worktrees/x\n", 40},
      {"empty", "gitdir:\n", 40},
      {"binary", std::string("\xff\xfe\0gitdir: \xc3", 12), 40},
  };
  for (const auto& [folder, gitFile, days] : cases) {
    home.folder(folder);
    if (gitFile) home.fileWithContents(folder + "/.git", *gitFile);
    setModificationTime(home / folder, 40 * day);
    const auto active = Projects::lastActive(home / folder);
    ASSERT_TRUE(active.has_value()) << folder;
    EXPECT_EQ((secondsSince1970(std::chrono::system_clock::now()) - secondsSince1970(*active)) / day, days) << folder;
  }
  EXPECT_FALSE(Projects::lastActive(home / "does-not-exist").has_value());
}

TEST(ProjectActivity, IdleMeansStrictlyMoreThanThirtyDays) {
  const Date now = std::chrono::system_clock::now();
  EXPECT_FALSE(Projects::idle(std::nullopt, now));
  EXPECT_FALSE(Projects::idle(now - std::chrono::seconds(30 * day), now));
  EXPECT_TRUE(Projects::idle(now - std::chrono::seconds(30 * day + 1), now));
}

}  // namespace tw::test
