#include <gtest/gtest.h>
#include <unistd.h>

#include "core/dev_safety.h"
#include "core/settings.h"
#include "fs/path.h"
#include "support/fake_home.h"

namespace tw::test {
namespace {

void expectJudgements(const Context& context, const std::vector<std::pair<std::string, bool>>& cases) {
  for (const auto& [path, removable] : cases) EXPECT_EQ(DevSafety::canRemove(path, context), removable) << path;
}

void link(const std::string& target, const std::string& at) { ASSERT_EQ(::symlink(target.c_str(), at.c_str()), 0); }

}  // namespace

TEST(DevSafety, OnlyPathsTwoLevelsBelowHomeMayGoJudgedOnWhatTheyReallyName) {
  FakeHome home;
  TempFolder outside;
  home.folder("Library/Caches/app");
  home.folder("code/app/.git");
  home.folder("code/app/src");
  home.fileWithContents("code/worktree/.git", "gitdir: /somewhere\n");
  home.folder("Projects");
  makeFolders(outside / "system/data");
  link(outside.path(), home / "Projects/escape");
  link(outside.path(), home / "escape");
  link(home.path(), outside / "alias");

  expectJudgements(home.context(),
                   {
                       {home.path(), false},
                       {home / "Library", false},
                       {home / "Library/Caches", true},
                       {home / "Library/Caches/com.example/deep", true},
                       {home / "not/there/yet", true},  // judged on the path, not on existence
                       {"/tmp/x", false},
                       {"/", false},
                       {"", false},
                       {"Library/Caches", false},
                       {"../Library/Caches", false},
                       {home.path() + "-other/a/b", false},  // only starts like the home folder
                       // Trailing and doubled slashes, "." and ".." pieces.
                       {home / "Library/Caches/", true},
                       {home.path() + "//Library///Caches", true},
                       {home / "./Library/./Caches", true},
                       {home / "Library/Caches/..", false},
                       {home / "Library/../Library", false},
                       {home / "Documents/../Library/Caches", true},
                       {home / "../../etc/ssh", false},
                       {home / "Library//", false},
                       // A folder holding .git (a folder, or a file in a linked worktree) is never removed.
                       {home / "code/app", false},
                       {home / "code/app/", false},
                       {home / "code/worktree", false},
                       {home / "code/app/src", true},
                       {home / "code/app/.git", true},
                       // A link in the parent chain counts by where it leads; the link itself may go.
                       {home / "escape/system", false},
                       {home / "escape/system/data", false},
                       {home / "Projects/escape/system/data", false},
                       {home / "Projects/escape/system/../system/data", false},
                       {home / "Projects/escape", true},
                       {outside / "alias/Library/Caches", true},
                       {outside / "alias/Library", false},
                   });
}

TEST(DevSafety, ConfiguredProjectRootsAllowTheirDeeperFoldersComparedResolved) {
  FakeHome home;
  TempFolder projects;
  TempFolder real;
  makeFolders(projects / "web/node_modules");
  makeFolders(real / "app/build");
  link(real.path(), home / "Code");
  EXPECT_FALSE(DevSafety::canRemove(projects / "web/node_modules", home.context()));

  // The second root names a link: the paths under it are judged resolved, and so is the root.
  home.context().settings->set("projectRoots",
                               nlohmann::json::array({projects.path() + "/", home / "Code", "relative/ignored"}));
  expectJudgements(home.context(), {
                                       {projects / "web/node_modules", true},
                                       {projects / "web", false},
                                       {projects.path(), false},
                                       {home / "Library/Caches", true},  // home stays a root
                                       {real / "app/build", true},
                                       {home / "Code/app/build", true},
                                       {real / "app", false},
                                   });
}

}  // namespace tw::test

namespace tw::test {

TEST(DevSafety, BaseFoldersTheUserKeepsElsewhereAllowWhatLiesInsideThem) {
  FakeHome home;
  TempFolder cache;
  TempFolder data;
  makeFolders(cache / "pip/wheels");
  EXPECT_FALSE(DevSafety::canRemove(cache / "pip", home.context())) << "not a root until the user names it";

  Environment env = home.context().env;
  env["XDG_CACHE_HOME"] = cache.path();
  env["XDG_DATA_HOME"] = data.path();
  Context context = home.context(env);
  context.cacheHome = cache.path();
  context.dataHome = data.path();
  expectJudgements(context, {
                                {cache / "pip", true},
                                {cache / "pip/wheels", true},
                                {data / "Trash", true},
                                {cache.path(), false},
                                {cache.path() + "-other/pip", false},
                                {home / "Documents", false},  // home keeps its own rule
                                {home / "Library/Caches", true},
                            });
  const auto start = DevSafety::removalStart(cache / "pip", context);
  ASSERT_TRUE(start);
  EXPECT_EQ(start->top, cache.path());
  EXPECT_EQ(start->path, cache / "pip");
}

TEST(DevSafety, ABaseFolderInsideTheHomeFolderThatIsALinkIsNoRootUntilTheUserNamesWhereItLeads) {
  FakeHome home;
  TempFolder disk;
  makeFolders(disk / "cache/pip");
  link(disk / "cache", home / ".cache");
  const auto withCacheAt = [&](const std::string& folder) {
    Environment env = home.context().env;
    env["XDG_CACHE_HOME"] = folder;
    Context context = home.context(env);
    context.cacheHome = folder;
    return context;
  };

  // ~/.cache could have been swapped for that link by anyone who can write in the home folder.
  const Context inside = withCacheAt(home / ".cache");
  EXPECT_FALSE(DevSafety::removalStart(home / ".cache/pip", inside));
  EXPECT_FALSE(DevSafety::canRemove(disk / "cache/pip", inside));

  const Context named = withCacheAt(disk / "cache");
  const auto start = DevSafety::removalStart(disk / "cache/pip", named);
  ASSERT_TRUE(start);
  EXPECT_EQ(start->top, disk / "cache");
}

TEST(DevSafety, ABaseFolderSetToTheHomeFolderOrAboveItOrASystemFolderAllowsNothingMore) {
  FakeHome home;
  TempFolder projects;
  home.context().settings->set("projectRoots", nlohmann::json::array({projects.path()}));
  makeFolders(projects / "web/src");
  for (const std::string& base :
       {home.path(), parentPath(home.path()), projects.path(), std::string("/usr"), std::string("/")}) {
    Environment env = home.context().env;
    env["XDG_CACHE_HOME"] = base;
    Context context = home.context(env);
    context.cacheHome = base;
    expectJudgements(context, {
                                  {home / "Documents", false},
                                  {projects / "web", false},
                                  {"/usr/lib", false},
                                  {"/etc/passwd", false},
                              });
  }
}

}  // namespace tw::test
