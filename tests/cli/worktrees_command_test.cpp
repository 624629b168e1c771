#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "core/history.h"
#include "core/text.h"
#include "support/fake_home.h"
#include "support/git_sandbox.h"
#include "support/screen_output.h"

namespace tw::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::UnorderedElementsAre;

// Worktree folders git still lists, without the main one.
std::vector<std::string> listedWorktrees(const GitSandbox& git, const std::string& repo) {
  std::vector<std::string> paths;
  for (const auto& line : splitLines(git.run(repo, {"worktree", "list", "--porcelain"}))) {
    if (line.starts_with("worktree ") && line.substr(9) != repo) paths.push_back(line.substr(9));
  }
  return paths;
}

// One repository with a remote and safe, dirty and vanished worktrees, one without a remote,
// and one with no extra worktrees at all. Every state of a worktree is the item's business.
class WorktreesCommand : public ::testing::Test {
 protected:
  void SetUp() override {
    git.run(home.path(), {"init", "--quiet", "--bare", "-b", "main", remote});
    git.initRepository(app);
    git.run(app, {"remote", "add", "origin", remote});
    git.run(app, {"push", "--quiet", "origin", "main"});

    pushedWorktree(safeSpace, "safe-space");
    pushedWorktree(safeOdd, "safe-odd");
    pushedWorktree(dirty, "dirty");
    writeFile(dirty + "/notes.txt", "work in progress\n");
    pushedWorktree(gone, "gone");
    removeTree(gone);

    git.initRepository(solo);
    git.run(solo, {"worktree", "add", "--quiet", "-b", "try", soloTree});
    git.initRepository(home / "code/plain");
  }

  void pushedWorktree(const std::string& path, const std::string& branch) {
    git.run(app, {"worktree", "add", "--quiet", "-b", branch, path});
    git.run(path, {"push", "--quiet", "origin", branch});
  }

  FakeHome home;
  GitSandbox git;
  std::string remote = home / "remotes/app.git";
  std::string app = home / "code/app";
  std::string safeSpace = home / "trees/safe one";
  std::string safeOdd = home / "trees/caf\xe9";
  std::string dirty = home / "trees/dirty";
  std::string gone = home / "trees/gone";
  std::string solo = home / "code/solo";
  std::string soloTree = home / "trees/solo-try";
};

}  // namespace

TEST_F(WorktreesCommand, ListsExtraWorktreesPreselectsOnlySafeOnesAndCleanRemovesOrPrunesThose) {
  const auto result = runTidewarden({"worktrees", "--json"});
  ASSERT_EQ(result.code, 0) << result.err;
  const auto output = nlohmann::json::parse(result.out);
  EXPECT_TRUE(output["note"].is_null());
  ASSERT_EQ(output["groups"].size(), 2u);
  const auto& group = groupWithId(output, app);
  EXPECT_EQ(group["title"], "app");
  EXPECT_EQ(group["subtitle"], "~/code/app \u00b7 4 worktrees");
  EXPECT_THAT(group["badges"], IsEmpty());
  const auto& soloGroup = groupWithId(output, solo);
  EXPECT_EQ(soloGroup["subtitle"], "~/code/solo \u00b7 1 worktree");

  struct Expected {
    const nlohmann::json& group;
    std::string name;
    nlohmann::json badges;
    bool selected;
    nlohmann::json warning;
  };
  const std::vector<Expected> items{
      {group, "safe one", {"safe-space", "safe to remove"}, true, nullptr},
      {group, "caf\xef\xbf\xbd", {"safe-odd", "safe to remove"}, true, nullptr},
      {group, "dirty", {"dirty", "1 uncommitted"}, false, "dirty: uncommitted changes"},
      {group, "gone", {"missing"}, true, nullptr},
      {soloGroup, "solo-try", {"try", "no remote"}, false, "solo-try: commits not on any remote"},
  };
  for (const auto& expected : items) {
    const auto& item = itemNamed(expected.group, expected.name);
    EXPECT_EQ(item["badges"], expected.badges) << expected.name;
    EXPECT_EQ(item["selected"], expected.selected) << expected.name;
    EXPECT_EQ(item["warning"], expected.warning) << expected.name;
  }
  const auto& gone = itemNamed(group, "gone");
  EXPECT_EQ(gone["detail"], "Folder is gone; git still tracks it");
  EXPECT_EQ(gone["action"], "git -C " + app + " worktree prune");

  // Cleaning removes the safe worktrees and prunes the vanished one.
  const auto cleaned = runTidewarden({"worktrees", "clean", "--selected", "--yes", "--json"});
  ASSERT_EQ(cleaned.code, 0) << cleaned.out << cleaned.err;
  const auto summary = nlohmann::json::parse(cleaned.out);
  EXPECT_EQ(summary["done"], 3);
  EXPECT_THAT(summary["failed"], IsEmpty());

  EXPECT_FALSE(exists(safeSpace));
  EXPECT_FALSE(exists(safeOdd));
  EXPECT_EQ(readFile(dirty + "/notes.txt"), "work in progress\n");
  EXPECT_THAT(listedWorktrees(git, app), ElementsAre(dirty));
  EXPECT_THAT(listedWorktrees(git, solo), ElementsAre(soloTree));
  // The branches stay; only the checked-out folders go.
  EXPECT_NE(git.run(app, {"branch", "--list", "safe-space"}), "");

  std::vector<std::string> names;
  for (const auto& entry : History::entries()) names.push_back(validUtf8(entry.name));
  EXPECT_THAT(names, UnorderedElementsAre("safe one", "caf\xef\xbf\xbd", "gone"));
}

TEST(WorktreesCommandEmpty, RepositoriesWithoutExtraWorktreesGiveTheNote) {
  FakeHome home;
  GitSandbox git;
  git.initRepository(home / "code/one");
  // A worktrees folder that git has forgotten about lists only the main worktree.
  makeFolders(home / "code/one/.git/worktrees");

  const auto result = runTidewarden({"worktrees", "--json"});
  ASSERT_EQ(result.code, 0) << result.err;
  const auto output = nlohmann::json::parse(result.out);
  EXPECT_THAT(output["groups"], IsEmpty());
  EXPECT_EQ(output["note"], "No extra git worktrees found in your project folders.");
}

}  // namespace tw::test
