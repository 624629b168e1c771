#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "core/format.h"
#include "screens/git_repos.h"
#include "support/fake_home.h"

namespace tw::test {
namespace {

using ::testing::ElementsAre;
using Stats = GitRepos::Stats;
using Footprint = GitRepos::Footprint;

const std::string repo = "/src/app";
const std::string git = "/usr/bin/git";

std::vector<std::string> badgeTexts(const DevItem& item) {
  std::vector<std::string> texts;
  for (const auto& badge : item.badges) texts.push_back(badge.text);
  return texts;
}

std::vector<std::vector<std::string>> commandsOf(const DevAction& action) {
  return std::get<DevAction::Commands>(action.value).commands;
}

}  // namespace

TEST(GitObjectStats, ReadsCountObjectsOutputInBytesAndDamagedLinesAsZero) {
  const std::vector<std::pair<std::string, Stats>> cases{
      {"count: 1520\nsize: 48828\nin-pack: 9001\npacks: 3\nsize-pack: 102400\nprune-packable: 17\ngarbage: 2\n"
       "size-garbage: 10\n",
       {48828 * 1024, 1520, 102400 * 1024, 17, 10 * 1024, 2}},
      {"", {}},
      {"size: 4\r\nwarning: garbage found: .git/objects/pack/tmp\ncount:  7  \n", {4096, 7, 0, 0, 0, 0}},
      {"count: many\nsize: -\nsize-pack: 12abc\n:\ngarbage 3\n", {}},
  };
  for (const auto& [output, stats] : cases) EXPECT_EQ(GitRepos::parse(output), stats) << output;
  // Absurd numbers neither wrap around nor crash.
  EXPECT_GT(GitRepos::parse("size: 9223372036854775807\n").looseBytes, 0);
}

TEST(GitRepoAssessment, OffersBloatedRepositoriesAndPreselectsOnlyHugeLooseStoresWhileGitIsIdle) {
  const auto loose = [](std::int64_t bytes) { return Stats{bytes, 1200}; };
  const auto looseBadge = [](std::int64_t bytes) { return byteFormatter(bytes) + " loose"; };
  const struct {
    Stats stats;
    Footprint footprint;              // .git bytes, LFS bytes, LFS folder, git running
    std::vector<std::string> badges;  // none: not offered at all
    bool selected;
  } cases[] = {
      {loose(60'000'000), {90'000'000}, {looseBadge(60'000'000)}, false},
      {loose(250'000'000), {300'000'000}, {looseBadge(250'000'000)}, true},
      {loose(200'000'000), {1}, {looseBadge(200'000'000)}, true},
      {loose(199'999'999), {1}, {looseBadge(199'999'999)}, false},
      {loose(49'999'999), {1}, {}, false},
      {loose(250'000'000), {300'000'000, 0, false, true}, {looseBadge(250'000'000), "git is running"}, false},
      {loose(10'000'000), {900'000'000}, {}, false},
      {loose(10'000'000), {1'200'000'000}, {"large .git"}, false},
      {{0, 0, 0, 0, 3072, 2}, {5'000'000}, {"garbage"}, false},
      {{}, {400'000'000, 150'000'000, true}, {"LFS " + byteFormatter(150'000'000)}, false},
  };
  for (std::size_t index = 0; index < std::size(cases); ++index) {
    const auto& [stats, footprint, badges, selected] = cases[index];
    const auto item = GitRepos::assess(repo, git, true, stats, footprint, "/home/someone");
    ASSERT_EQ(item.has_value(), !badges.empty()) << "case " << index;
    if (!item) continue;
    EXPECT_EQ(badgeTexts(*item), badges) << "case " << index;
    EXPECT_EQ(item->selected, selected) << "case " << index;
    EXPECT_EQ(item->freeable, stats.looseBytes + stats.garbageBytes) << "case " << index;
    EXPECT_EQ(item->size, footprint.gitBytes) << "case " << index;
    EXPECT_EQ(item->warning, footprint.gitRunning ? "app: another git process seems to be running (index.lock exists)"
                                                  : "app: unreachable objects are deleted right away");
    EXPECT_EQ(item->badges.back().tone == Badge::Tone::danger, footprint.gitRunning) << "case " << index;
    // Only an LFS cache folder gets the action that prunes it.
    EXPECT_EQ(item->extra.size(), footprint.lfsFolder ? 1u : 0u) << "case " << index;
  }
}

TEST(GitRepoAssessment, DetailListsEveryFigureAndTheActionsAreGitsOwn) {
  FakeHome home;
  const std::string path = home / "code/app";
  const auto item = GitRepos::assess(path, git, true, {60'000'000, 1520, 2'000'000, 17, 4096, 3},
                                     {70'000'000, 5000, true, false}, home.path());
  ASSERT_TRUE(item.has_value());
  EXPECT_EQ(item->detail, "~/code/app \u00b7 1520 loose objects (" + byteFormatter(60'000'000) + ") \u00b7 packs " +
                              byteFormatter(2'000'000) + " \u00b7 17 already packed \u00b7 3 garbage files (" +
                              byteFormatter(4096) + ") \u00b7 LFS " + byteFormatter(5000) +
                              " \u00b7 savings are an estimate");
  EXPECT_EQ(item->id, path);
  EXPECT_EQ(item->name, "app");
  EXPECT_EQ(item->revealPath, path);
  EXPECT_THAT(commandsOf(item->action), ElementsAre(ElementsAre(git, "-C", path, "gc", "--prune=now", "--quiet")));
  ASSERT_EQ(item->extra.size(), 1u);
  EXPECT_EQ(item->extra[0].label, "Prune Git LFS cache");
  EXPECT_THAT(commandsOf(item->extra[0].action), ElementsAre(ElementsAre(git, "-C", path, "lfs", "prune")));
  // Without git-lfs installed the cache is still counted, but there is nothing to prune it with.
  const auto withoutLfs = GitRepos::assess(path, git, false, {60'000'000, 1200}, {1, 0, true, false}, home.path());
  EXPECT_TRUE(withoutLfs->extra.empty());
  EXPECT_EQ(withoutLfs->detail, "~/code/app \u00b7 1200 loose objects (" + byteFormatter(60'000'000) +
                                    ") \u00b7 packs " + byteFormatter(0) + " \u00b7 savings are an estimate");
}

}  // namespace tw::test
