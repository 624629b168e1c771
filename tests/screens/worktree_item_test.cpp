#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "core/dev_item.h"
#include "core/shell.h"
#include "screens/worktrees.h"
#include "support/fake_home.h"
#include "support/git_sandbox.h"

namespace tw::test {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::StartsWith;

std::vector<std::string> badgeTexts(const DevItem& item) {
  std::vector<std::string> texts;
  for (const auto& badge : item.badges) texts.push_back(badge.text);
  return texts;
}

std::vector<std::vector<std::string>> commandsOf(const DevItem& item) {
  const auto* commands = std::get_if<DevAction::Commands>(&item.action.value);
  return commands != nullptr ? commands->commands : std::vector<std::vector<std::string>>{};
}

// A repository with a bare remote it has pushed its main branch to.
class WorktreeItem : public ::testing::Test {
 protected:
  void SetUp() override {
    const auto found = Shell::which("git");
    if (!found) GTEST_SKIP() << "git is not installed";
    gitPath = *found;
    git.run(home.path(), {"init", "--quiet", "--bare", "-b", "main", remote});
    git.initRepository(repo);
    git.run(repo, {"remote", "add", "origin", remote});
    git.run(repo, {"push", "--quiet", "origin", "main"});
  }

  std::string addWorktree(const std::string& name, const std::string& branch) {
    const std::string path = home / name;
    git.run(repo, {"worktree", "add", "--quiet", "-b", branch, path});
    return path;
  }

  FakeHome home;
  GitSandbox git;
  std::string remote = home / "remote.git";
  std::string repo = home / "code/app";
  std::string gitPath;
};

}  // namespace

TEST_F(WorktreeItem, WorkInProgressIsBadgedWarnedAndNotSelected) {
  const std::string path = addWorktree("feature", "feature");
  git.run(path, {"push", "--quiet", "-u", "origin", "feature"});
  git.commitFile(path, "one.txt", "1\n");
  git.commitFile(path, "two.txt", "2\n");
  writeFile(path + "/README.md", "changed\n");
  writeFile(path + "/new-a.txt", "a\n");
  writeFile(path + "/new-b.txt", "b\n");

  const DevItem item = Worktrees::item({path, "feature", false, false}, repo, gitPath, true);
  EXPECT_THAT(badgeTexts(item), ElementsAre("feature", "3 uncommitted", "2 unpushed"));
  EXPECT_EQ(item.badges[1].tone, Badge::Tone::warn);
  EXPECT_FALSE(item.selected);
  EXPECT_EQ(item.warning, "feature: uncommitted changes, commits not on any remote");
  EXPECT_EQ(item.id, path);
  EXPECT_EQ(item.name, "feature");
  EXPECT_EQ(item.revealPath, path);
  EXPECT_THAT(item.detail, StartsWith("Last commit "));
  EXPECT_THAT(item.detail, HasSubstr(" \u00b7 " + path));
  EXPECT_GT(item.size.value_or(0), 0);
}

TEST_F(WorktreeItem, RepositoryWithoutRemoteIsNeverSafe) {
  const std::string local = home / "code/local";
  git.initRepository(local);
  const std::string path = home / "local-wt";
  git.run(local, {"worktree", "add", "--quiet", "-b", "spike", path});

  const DevItem item = Worktrees::item({path, "spike", false, false}, local, gitPath, false);
  EXPECT_THAT(badgeTexts(item), ElementsAre("spike", "no remote"));
  EXPECT_FALSE(item.selected);
  EXPECT_EQ(item.warning, "local-wt: commits not on any remote");
}

TEST_F(WorktreeItem, CleanPushedWorktreeIsSafeAndRemovedWithGit) {
  const std::string path = addWorktree("done", "done");
  git.commitFile(path, "work.txt", "finished\n");
  git.run(path, {"push", "--quiet", "origin", "done"});

  const DevItem item = Worktrees::item({path, "done", false, false}, repo, gitPath, true);
  EXPECT_THAT(badgeTexts(item), ElementsAre("done", "safe to remove"));
  EXPECT_EQ(item.badges[1].tone, Badge::Tone::ok);
  EXPECT_TRUE(item.selected);
  EXPECT_FALSE(item.warning.has_value());
  EXPECT_THAT(commandsOf(item), ElementsAre(ElementsAre(gitPath, "-C", repo, "worktree", "remove", "--force", path)));
}

TEST_F(WorktreeItem, LockedWorktreeStaysUnselectedAndNeedsDoubleForce) {
  const std::string path = addWorktree("kept", "kept");
  git.run(path, {"push", "--quiet", "origin", "kept"});
  git.run(repo, {"worktree", "lock", path});

  const DevItem item = Worktrees::item({path, "kept", true, false}, repo, gitPath, true);
  EXPECT_THAT(badgeTexts(item), ElementsAre("kept", "locked", "safe to remove"));
  EXPECT_FALSE(item.selected);
  EXPECT_EQ(item.warning, "kept: is locked");
  EXPECT_THAT(commandsOf(item),
              ElementsAre(ElementsAre(gitPath, "-C", repo, "worktree", "remove", "--force", "--force", path)));
}

TEST_F(WorktreeItem, DeletedFolderIsPrunedNotRemoved) {
  const std::string path = addWorktree("vanished", "vanished");
  removeTree(path);

  for (const bool prunableFlag : {false, true}) {
    const DevItem item = Worktrees::item({path, "vanished", false, prunableFlag}, repo, gitPath, true);
    EXPECT_THAT(badgeTexts(item), ElementsAre("missing"));
    EXPECT_EQ(item.badges[0].tone, Badge::Tone::danger);
    EXPECT_TRUE(item.selected);
    EXPECT_EQ(item.detail, "Folder is gone; git still tracks it");
    EXPECT_EQ(item.size, 0);
    EXPECT_EQ(item.freeable, 0);
    EXPECT_FALSE(item.revealPath.has_value());
    EXPECT_THAT(commandsOf(item), ElementsAre(ElementsAre(gitPath, "-C", repo, "worktree", "prune")));
  }
}

TEST_F(WorktreeItem, PathsWithSpacesAndOddBytesAreHandedToGitUnchanged) {
  const std::string path = home / "wt with space \xff";
  git.run(repo, {"worktree", "add", "--quiet", "-b", "odd", path});
  writeFile(path + "/dirty.txt", "x\n");

  const DevItem item = Worktrees::item({path, "odd", false, false}, repo, gitPath, true);
  EXPECT_THAT(badgeTexts(item), ElementsAre("odd", "1 uncommitted"));
  EXPECT_EQ(item.name, "wt with space \xff");
  EXPECT_FALSE(item.selected);
}

TEST_F(WorktreeItem, UnreadableGitOutputCountsAsNothingFound) {
  // A folder git does not know: every command fails, nothing is counted, no date is known.
  const std::string stray = home.folder("stray");
  const DevItem item = Worktrees::item({stray, std::nullopt, false, false}, repo, gitPath, true);
  EXPECT_THAT(badgeTexts(item), ElementsAre("safe to remove"));
  EXPECT_THAT(item.detail, StartsWith("No commits \u00b7 "));
}

}  // namespace tw::test
