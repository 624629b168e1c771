#include <gtest/gtest.h>
#include <unistd.h>

#include "core/dev_safety.h"
#include "core/settings.h"
#include "support/fake_home.h"

namespace tw::test {
namespace {

// A temporary folder outside the fake home, removed afterwards.
class OutsideFolder {
 public:
  OutsideFolder() : path_(makeTempFolder("tw-outside")) {}
  ~OutsideFolder() { removeTree(path_); }
  OutsideFolder(const OutsideFolder&) = delete;
  OutsideFolder& operator=(const OutsideFolder&) = delete;
  [[nodiscard]] std::string operator/(const std::string& relative) const { return path_ + "/" + relative; }
  [[nodiscard]] const std::string& path() const { return path_; }

 private:
  std::string path_;
};

void link(const std::string& target, const std::string& at) { ASSERT_EQ(::symlink(target.c_str(), at.c_str()), 0); }

}  // namespace

TEST(DevSafety, OnlyPathsTwoLevelsBelowHomeMayBeRemoved) {
  FakeHome home;
  home.folder("Library/Caches");
  EXPECT_FALSE(DevSafety::canRemove(home.path()));
  EXPECT_FALSE(DevSafety::canRemove(home / "Library"));
  EXPECT_TRUE(DevSafety::canRemove(home / "Library/Caches"));
  EXPECT_TRUE(DevSafety::canRemove(home / "Library/Caches/com.example/deep"));
  EXPECT_TRUE(DevSafety::canRemove(home / "not/there/yet")) << "judged on the path, not on existence";
  EXPECT_FALSE(DevSafety::canRemove("/tmp/x"));
  EXPECT_FALSE(DevSafety::canRemove("/"));
  EXPECT_FALSE(DevSafety::canRemove(""));
  EXPECT_FALSE(DevSafety::canRemove("Library/Caches")) << "relative paths are refused";
  // A sibling whose name merely starts like the home folder is outside it.
  EXPECT_FALSE(DevSafety::canRemove(home.path() + "-other/a/b"));
}

TEST(DevSafety, SpellingOfThePathDoesNotChangeTheAnswer) {
  FakeHome home;
  home.folder("Library/Caches");
  EXPECT_TRUE(DevSafety::canRemove(home / "Library/Caches/"));
  EXPECT_TRUE(DevSafety::canRemove(home.path() + "//Library///Caches"));
  EXPECT_TRUE(DevSafety::canRemove(home / "./Library/./Caches"));
  EXPECT_FALSE(DevSafety::canRemove(home / "Library/Caches/.."));
  EXPECT_FALSE(DevSafety::canRemove(home / "Library/../Library"));
  EXPECT_TRUE(DevSafety::canRemove(home / "Documents/../Library/Caches"));
  EXPECT_FALSE(DevSafety::canRemove(home / "../../etc/ssh"));
  EXPECT_FALSE(DevSafety::canRemove(home / "Library//"));
  EXPECT_FALSE(DevSafety::canRemove("../Library/Caches"));
}

TEST(DevSafety, RepositoryRootIsNeverRemoved) {
  FakeHome home;
  home.folder("code/app/.git");
  home.fileWithContents("code/worktree/.git", "gitdir: /somewhere\n");
  home.folder("code/app/src");
  EXPECT_FALSE(DevSafety::canRemove(home / "code/app"));
  EXPECT_FALSE(DevSafety::canRemove(home / "code/app/"));
  EXPECT_FALSE(DevSafety::canRemove(home / "code/worktree")) << "a linked worktree has a .git file";
  EXPECT_TRUE(DevSafety::canRemove(home / "code/app/src"));
  EXPECT_TRUE(DevSafety::canRemove(home / "code/app/.git")) << "the rule is about the folder holding .git";
}

TEST(DevSafety, ConfiguredProjectRootsAllowTheirDeeperFolders) {
  FakeHome home;
  OutsideFolder projects;
  makeFolders(projects / "web/node_modules");
  EXPECT_FALSE(DevSafety::canRemove(projects / "web/node_modules"));

  Settings::shared().set("projectRoots", nlohmann::json::array({projects.path() + "/", "relative/ignored"}));
  EXPECT_TRUE(DevSafety::canRemove(projects / "web/node_modules"));
  EXPECT_FALSE(DevSafety::canRemove(projects / "web"));
  EXPECT_FALSE(DevSafety::canRemove(projects.path()));
  EXPECT_TRUE(DevSafety::canRemove(home / "Library/Caches")) << "home stays a root";
}

TEST(DevSafety, LinkInTheParentChainIsJudgedByWhereItLeads) {
  FakeHome home;
  OutsideFolder outside;
  makeFolders(outside / "system/data");
  home.folder("Projects");
  link(outside.path(), home / "Projects/escape");
  link(outside.path(), home / "escape");

  EXPECT_FALSE(DevSafety::canRemove(home / "escape/system"));
  EXPECT_FALSE(DevSafety::canRemove(home / "escape/system/data"));
  EXPECT_FALSE(DevSafety::canRemove(home / "Projects/escape/system/data"));
  EXPECT_FALSE(DevSafety::canRemove(home / "Projects/escape/system/../system/data"));
  // The link itself lives two levels down: removing it removes only the link.
  EXPECT_TRUE(DevSafety::canRemove(home / "Projects/escape"));
}

TEST(DevSafety, LinkThatLeadsIntoHomeIsAllowedWhereItLeads) {
  FakeHome home;
  OutsideFolder outside;
  home.folder("Library/Caches/app");
  link(home.path(), outside / "alias");
  EXPECT_TRUE(DevSafety::canRemove(outside / "alias/Library/Caches"));
  EXPECT_FALSE(DevSafety::canRemove(outside / "alias/Library"));
}

TEST(DevSafety, LinkedProjectRootIsComparedByWhatItNames) {
  FakeHome home;
  OutsideFolder real;
  makeFolders(real / "app/build");
  link(real.path(), home / "Code");
  // The setting names the link; the paths under it are judged resolved, and so is the root.
  Settings::shared().set("projectRoots", nlohmann::json::array({home / "Code"}));
  EXPECT_TRUE(DevSafety::canRemove(real / "app/build"));
  EXPECT_TRUE(DevSafety::canRemove(home / "Code/app/build"));
  EXPECT_FALSE(DevSafety::canRemove(real / "app"));
}

}  // namespace tw::test
