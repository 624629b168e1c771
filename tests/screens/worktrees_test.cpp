#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "core/shell.h"
#include "core/text.h"
#include "screens/worktree_paths.h"
#include "screens/worktrees.h"
#include "support/fake_home.h"
#include "support/git_sandbox.h"

namespace tw::test {
namespace {

using Entry = Worktrees::Entry;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::StartsWith;

Entry entry(std::string path, std::optional<std::string> branch, bool locked = false, bool prunable = false) {
  return {std::move(path), std::move(branch), locked, prunable};
}

}  // namespace

TEST(WorktreeList, ReadsEveryKindOfRecordAndToleratesDamagedOutput) {
  const std::string odd = "/src/wt-\xff\xfe name";
  const std::vector<std::pair<std::string, std::vector<Entry>>> cases{
      {"worktree /src/app\nHEAD 1111111111111111111111111111111111111111\nbranch refs/heads/main\n\n"
       "worktree /src/app wt/feature one\nHEAD 2222222222222222222222222222222222222222\n"
       "branch refs/heads/feature/login\nlocked on an external disk\n\n"
       "worktree /src/gone\nHEAD 3333333333333333333333333333333333333333\ndetached\n"
       "prunable gitdir file points to non-existent location\n\n"
       "worktree /src/bare-locked\nbare\nlocked\n\n",
       {entry("/src/app", "main"), entry("/src/app wt/feature one", "feature/login", true),
        entry("/src/gone", "detached HEAD", false, true), entry("/src/bare-locked", std::nullopt, true)}},
      // Missing ends, extra blank lines and blocks without a path.
      {"\n\nHEAD 1111111111111111111111111111111111111111\nbranch refs/heads/orphan\n\n\n"
       "worktree /a\nbranch refs/tags/not-a-head\n\nworktree /b\ndetached",
       {entry("/a", "refs/tags/not-a-head"), entry("/b", "detached HEAD")}},
      {"", {}},
      {"fatal: not a git repository\n", {}},
      {"worktree /src\n\nworktree " + odd + "\nbranch refs/heads/x\n", {entry("/src", std::nullopt), entry(odd, "x")}},
  };
  for (const auto& [output, entries] : cases) EXPECT_EQ(Worktrees::parse(output), entries) << output;
}

// The shell runner hands git's output back decoded; git's own records hold the real bytes.
TEST(WorktreeList, RealGitDetachedRecordsAndFoldersWhoseNamesAreNotUtf8) {
  FakeHome home;
  GitSandbox git;
  const std::string repo = home / "repo";
  git.initRepository(repo);
  const std::string odd = home / "caf\xe9 \xff";
  const std::string twin = home / "caf\xe9 \xfe";
  git.run(repo, {"worktree", "add", "--quiet", "-b", "odd", odd});
  git.run(repo, {"worktree", "add", "--quiet", "--detach", home / "detached"});
  EXPECT_THAT(Worktrees::parse(git.run(repo, {"worktree", "list", "--porcelain"})),
              Contains(entry(home / "detached", "detached HEAD")));
  EXPECT_EQ(recordedWorktreePath(validUtf8(odd), repo + "/.git"), odd);
  EXPECT_EQ(recordedWorktreePath(odd, repo + "/.git"), odd);
  EXPECT_EQ(recordedWorktreePath(home / "plain", repo + "/.git"), home / "plain");
  EXPECT_EQ(recordedWorktreePath(validUtf8(odd), home / "no-repo/.git"), validUtf8(odd));
  // Two folders that read the same once decoded: neither record is trusted.
  git.run(repo, {"worktree", "add", "--quiet", "-b", "twin", twin});
  ASSERT_EQ(validUtf8(odd), validUtf8(twin));
  EXPECT_EQ(recordedWorktreePath(validUtf8(odd), repo + "/.git"), validUtf8(odd));
}

TEST(WorktreeItem, BadgeTonesAndFoldersThatAreGoneOrUnknownToGit) {
  FakeHome home;
  const auto gitPath = Shell::which("git", home.context());
  if (!gitPath) GTEST_SKIP() << "git is not installed";
  GitSandbox git;
  const std::string repo = home / "repo";
  git.initRepository(repo);
  writeFile(repo + "/dirty.txt", "x\n");
  EXPECT_EQ(Worktrees::item({repo, "main", true, false}, repo, *gitPath, false, home.context()).badges,
            (std::vector<Badge>{{"main", Badge::Tone::info},
                                {"1 uncommitted", Badge::Tone::warn},
                                {"no remote", Badge::Tone::warn},
                                {"locked", Badge::Tone::danger}}));

  // A folder git does not know: git fails, so its state is unknown and it is never offered.
  const std::string stray = home.folder("stray");
  const DevItem unknown = Worktrees::item({stray, std::nullopt, false, false}, repo, *gitPath, true, home.context());
  EXPECT_EQ(unknown.badges, (std::vector<Badge>{{"state unknown", Badge::Tone::danger}}));
  EXPECT_FALSE(unknown.selected);
  EXPECT_THAT(unknown.detail, StartsWith("State unknown \u00b7 "));
  EXPECT_THAT(unknown.warning.value_or(""), StartsWith("stray: git could not read its state (fatal: not a git"));
  // The same when the repository's remotes could not be listed.
  EXPECT_EQ(Worktrees::item({repo, "main", false, false}, repo, *gitPath, std::nullopt, home.context()).badges,
            (std::vector<Badge>{{"main", Badge::Tone::info}, {"state unknown", Badge::Tone::danger}}));

  // A vanished folder is pruned, whether or not git has noticed yet.
  for (const bool prunable : {false, true}) {
    const DevItem item =
        Worktrees::item({home / "vanished", "vanished", false, prunable}, repo, *gitPath, true, home.context());
    EXPECT_EQ(item.badges, (std::vector<Badge>{{"missing", Badge::Tone::danger}}));
    EXPECT_TRUE(item.selected);
    EXPECT_EQ(item.size, 0);
    EXPECT_EQ(item.freeable, 0);
    EXPECT_FALSE(item.revealPath.has_value());
    EXPECT_THAT(std::get<DevAction::Commands>(item.action.value).commands,
                ElementsAre(ElementsAre(*gitPath, "-C", repo, "worktree", "prune")));
  }
}

}  // namespace tw::test
