#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "core/format.h"
#include "core/shell.h"
#include "screens/git_repos.h"
#include "support/fake_home.h"
#include "support/git_sandbox.h"

namespace tw::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

using Stats = GitRepos::Stats;
using Footprint = GitRepos::Footprint;

std::vector<std::string> badgeTexts(const DevItem& item) {
  std::vector<std::string> texts;
  for (const auto& badge : item.badges) texts.push_back(badge.text);
  return texts;
}

Stats loose(std::int64_t bytes) {
  Stats stats;
  stats.looseBytes = bytes;
  stats.looseCount = 1200;
  return stats;
}

Footprint gitFolder(std::int64_t bytes, bool running = false) {
  Footprint footprint;
  footprint.gitBytes = bytes;
  footprint.gitRunning = running;
  return footprint;
}

const std::string repo = "/src/app";
const std::string git = "/usr/bin/git";

}  // namespace

TEST(GitObjectStats, ReadsCountObjectsOutputInBytes) {
  const Stats stats = GitRepos::parse(
      "count: 1520\nsize: 48828\nin-pack: 9001\npacks: 3\nsize-pack: 102400\nprune-packable: 17\n"
      "garbage: 2\nsize-garbage: 10\n");
  EXPECT_EQ(stats, (Stats{48828 * 1024, 1520, 102400 * 1024, 17, 10 * 1024, 2}));
}

TEST(GitObjectStats, MissingOrDamagedLinesCountAsZero) {
  EXPECT_EQ(GitRepos::parse(""), Stats{});
  EXPECT_EQ(GitRepos::parse("size: 4\r\nwarning: garbage found: .git/objects/pack/tmp\ncount:  7  \n"),
            (Stats{4096, 7, 0, 0, 0, 0}));
  EXPECT_EQ(GitRepos::parse("count: many\nsize: -\nsize-pack: 12abc\n:\ngarbage 3\n"), Stats{});
  // Absurd numbers neither wrap around nor crash.
  EXPECT_GT(GitRepos::parse("size: 9223372036854775807\n").looseBytes, 0);
}

TEST(GitRepoAssessment, LooseObjectsAreOfferedAndOnlyHugeOnesPreselected) {
  const auto offered = GitRepos::assess(repo, git, false, loose(60'000'000), gitFolder(90'000'000));
  ASSERT_TRUE(offered.has_value());
  EXPECT_THAT(badgeTexts(*offered), ElementsAre(byteFormatter(60'000'000) + " loose"));
  EXPECT_FALSE(offered->selected);
  EXPECT_EQ(offered->freeable, 60'000'000);
  EXPECT_EQ(offered->size, 90'000'000);
  EXPECT_EQ(offered->warning, "app: unreachable objects are deleted right away");

  const auto huge = GitRepos::assess(repo, git, false, loose(250'000'000), gitFolder(300'000'000));
  ASSERT_TRUE(huge.has_value());
  EXPECT_TRUE(huge->selected);
  EXPECT_TRUE(GitRepos::assess(repo, git, false, loose(200'000'000), gitFolder(1))->selected);
  EXPECT_FALSE(GitRepos::assess(repo, git, false, loose(199'999'999), gitFolder(1))->selected);
  EXPECT_FALSE(GitRepos::assess(repo, git, false, loose(49'999'999), gitFolder(1)).has_value());
}

TEST(GitRepoAssessment, RunningGitIsShownAndNeverPreselected) {
  const auto item = GitRepos::assess(repo, git, false, loose(250'000'000), gitFolder(300'000'000, true));
  ASSERT_TRUE(item.has_value());
  EXPECT_THAT(badgeTexts(*item), ElementsAre(byteFormatter(250'000'000) + " loose", "git is running"));
  EXPECT_EQ(item->badges.back().tone, Badge::Tone::danger);
  EXPECT_FALSE(item->selected);
  EXPECT_EQ(item->warning, "app: another git process seems to be running (index.lock exists)");
}

TEST(GitRepoAssessment, LargeGitFolderAloneIsOfferedButNotPreselected) {
  EXPECT_FALSE(GitRepos::assess(repo, git, false, loose(10'000'000), gitFolder(900'000'000)).has_value());
  const auto large = GitRepos::assess(repo, git, false, loose(10'000'000), gitFolder(1'200'000'000));
  ASSERT_TRUE(large.has_value());
  EXPECT_THAT(badgeTexts(*large), ElementsAre("large .git"));
  EXPECT_FALSE(large->selected);
  EXPECT_EQ(large->freeable, 10'000'000);
}

TEST(GitRepoAssessment, GarbageAndLfsCacheAreOfferedWithTheirOwnBadges) {
  Stats stats;
  stats.garbageCount = 2;
  stats.garbageBytes = 3072;
  const auto garbage = GitRepos::assess(repo, git, true, stats, gitFolder(5'000'000));
  ASSERT_TRUE(garbage.has_value());
  EXPECT_THAT(badgeTexts(*garbage), ElementsAre("garbage"));
  EXPECT_EQ(garbage->freeable, 3072);
  EXPECT_THAT(garbage->extra, IsEmpty());  // no LFS cache folder, no LFS action

  Footprint lfs = gitFolder(400'000'000);
  lfs.lfsBytes = 150'000'000;
  lfs.lfsFolder = true;
  const auto withLfs = GitRepos::assess(repo, git, true, Stats{}, lfs);
  ASSERT_TRUE(withLfs.has_value());
  EXPECT_THAT(badgeTexts(*withLfs), ElementsAre("LFS " + byteFormatter(150'000'000)));
  ASSERT_EQ(withLfs->extra.size(), 1u);
  EXPECT_EQ(withLfs->extra[0].label, "Prune Git LFS cache");
  const auto* prune = std::get_if<DevAction::Commands>(&withLfs->extra[0].action.value);
  ASSERT_NE(prune, nullptr);
  EXPECT_THAT(prune->commands, ElementsAre(ElementsAre(git, "-C", repo, "lfs", "prune")));
  // Without git-lfs installed the cache is still shown, but there is nothing to prune it with.
  EXPECT_THAT(GitRepos::assess(repo, git, false, Stats{}, lfs)->extra, IsEmpty());
}

TEST(GitRepoAssessment, DetailListsEveryFigureAndTheActionIsGc) {
  FakeHome home;
  const std::string path = home / "code/app";
  Stats stats{60'000'000, 1520, 2'000'000, 17, 4096, 3};
  Footprint footprint = gitFolder(70'000'000);
  footprint.lfsBytes = 5000;
  footprint.lfsFolder = true;
  const auto item = GitRepos::assess(path, git, false, stats, footprint);
  ASSERT_TRUE(item.has_value());
  EXPECT_EQ(item->detail, "~/code/app \u00b7 1520 loose objects (" + byteFormatter(60'000'000) + ") \u00b7 packs " +
                              byteFormatter(2'000'000) + " \u00b7 17 already packed \u00b7 3 garbage files (" +
                              byteFormatter(4096) + ") \u00b7 LFS " + byteFormatter(5000) +
                              " \u00b7 savings are an estimate");
  EXPECT_EQ(item->id, path);
  EXPECT_EQ(item->name, "app");
  EXPECT_EQ(item->revealPath, path);
  const auto* gc = std::get_if<DevAction::Commands>(&item->action.value);
  ASSERT_NE(gc, nullptr);
  EXPECT_THAT(gc->commands, ElementsAre(ElementsAre(git, "-C", path, "gc", "--prune=now", "--quiet")));

  const auto plain = GitRepos::assess(path, git, false, loose(60'000'000), gitFolder(1));
  EXPECT_EQ(plain->detail, "~/code/app \u00b7 1200 loose objects (" + byteFormatter(60'000'000) + ") \u00b7 packs " +
                               byteFormatter(0) + " \u00b7 savings are an estimate");
}

TEST(GitRepoInspection, SmallRepositoryAndNonRepositoryGiveNothing) {
  const auto gitPath = Shell::which("git");
  if (!gitPath) GTEST_SKIP() << "git is not installed";
  FakeHome home;
  GitSandbox sandbox;
  sandbox.initRepository(home / "small");
  EXPECT_FALSE(GitRepos::inspect(home / "small", *gitPath, false).has_value());
  EXPECT_FALSE(GitRepos::inspect(home.folder("plain"), *gitPath, false).has_value());
  EXPECT_FALSE(GitRepos::inspect(home / "missing", *gitPath, false).has_value());
}

}  // namespace tw::test
