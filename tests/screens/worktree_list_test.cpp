#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "core/text.h"
#include "screens/worktree_paths.h"
#include "screens/worktrees.h"
#include "support/fake_home.h"
#include "support/git_sandbox.h"

namespace tw::test {
namespace {

using Entry = Worktrees::Entry;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

Entry entry(std::string path, std::optional<std::string> branch, bool locked = false, bool prunable = false) {
  return {std::move(path), std::move(branch), locked, prunable};
}

}  // namespace

TEST(WorktreeList, ReadsEveryKindOfRecordGitWrites) {
  const std::string output =
      "worktree /src/app\n"
      "HEAD 1111111111111111111111111111111111111111\n"
      "branch refs/heads/main\n"
      "\n"
      "worktree /src/app wt/feature one\n"
      "HEAD 2222222222222222222222222222222222222222\n"
      "branch refs/heads/feature/login\n"
      "locked on an external disk\n"
      "\n"
      "worktree /src/gone\n"
      "HEAD 3333333333333333333333333333333333333333\n"
      "detached\n"
      "prunable gitdir file points to non-existent location\n"
      "\n"
      "worktree /src/bare-locked\n"
      "bare\n"
      "locked\n"
      "\n";
  EXPECT_THAT(
      Worktrees::parse(output),
      ElementsAre(entry("/src/app", "main"), entry("/src/app wt/feature one", "feature/login", true),
                  entry("/src/gone", "detached HEAD", false, true), entry("/src/bare-locked", std::nullopt, true)));
}

TEST(WorktreeList, ToleratesMissingEndsExtraBlankLinesAndBlocksWithoutAPath) {
  const std::string output =
      "\n\nHEAD 1111111111111111111111111111111111111111\nbranch refs/heads/orphan\n\n\n"
      "worktree /a\nbranch refs/tags/not-a-head\n\n"
      "worktree /b\ndetached";
  EXPECT_THAT(Worktrees::parse(output), ElementsAre(entry("/a", "refs/tags/not-a-head"), entry("/b", "detached HEAD")));
  EXPECT_THAT(Worktrees::parse(""), IsEmpty());
  EXPECT_THAT(Worktrees::parse("fatal: not a git repository\n"), IsEmpty());
}

TEST(WorktreeList, KeepsPathBytesThatAreNotUtf8) {
  const std::string odd = "/src/wt-\xff\xfe name";
  EXPECT_THAT(Worktrees::parse("worktree /src\n\nworktree " + odd + "\nbranch refs/heads/x\n"),
              ElementsAre(entry("/src", std::nullopt), entry(odd, "x")));
}

TEST(WorktreeList, MatchesWhatRealGitPrints) {
  FakeHome home;
  GitSandbox git;
  const std::string repo = home / "repo";
  git.initRepository(repo);
  git.run(repo, {"worktree", "add", "--quiet", "-b", "feature", home / "wt feature"});
  git.run(repo, {"worktree", "add", "--quiet", "--detach", home / "wt-detached"});
  git.run(repo, {"worktree", "lock", "--reason", "keep it", home / "wt-detached"});
  git.run(repo, {"worktree", "add", "--quiet", "-b", "gone", home / "wt-gone"});
  removeTree(home / "wt-gone");

  const auto entries = Worktrees::parse(git.run(repo, {"worktree", "list", "--porcelain"}));
  EXPECT_THAT(entries, ElementsAre(entry(repo, "main"), entry(home / "wt feature", "feature"),
                                   entry(home / "wt-detached", "detached HEAD", true),
                                   entry(home / "wt-gone", "gone", false, true)));
}

TEST(WorktreeList, FolderNamesThatAreNotUtf8AreFoundAgainFromGitsRecords) {
  FakeHome home;
  GitSandbox git;
  const std::string repo = home / "repo";
  git.initRepository(repo);
  const std::string odd = home / "caf\xe9 \xff";
  const std::string twin = home / "caf\xe9 \xfe";
  git.run(repo, {"worktree", "add", "--quiet", "-b", "odd", odd});

  // What the shell runner hands back for it.
  EXPECT_EQ(recordedWorktreePath(validUtf8(odd), repo), odd);
  EXPECT_EQ(recordedWorktreePath(odd, repo), odd);
  EXPECT_EQ(recordedWorktreePath(home / "plain", repo), home / "plain");
  EXPECT_EQ(recordedWorktreePath(validUtf8(odd), home / "no-repo"), validUtf8(odd));

  // Two folders that read the same once decoded: neither record is trusted.
  git.run(repo, {"worktree", "add", "--quiet", "-b", "twin", twin});
  EXPECT_EQ(validUtf8(odd), validUtf8(twin));
  EXPECT_EQ(recordedWorktreePath(validUtf8(odd), repo), validUtf8(odd));
}

}  // namespace tw::test
