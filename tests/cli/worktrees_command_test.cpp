#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "core/history.h"
#include "core/text.h"
#include "support/fake_home.h"
#include "support/git_sandbox.h"

namespace tw::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::UnorderedElementsAre;

const nlohmann::json* itemNamed(const nlohmann::json& group, const std::string& name) {
  for (const auto& item : group["items"]) {
    if (item["name"] == name) return &item;
  }
  return nullptr;
}

const nlohmann::json* groupWithId(const nlohmann::json& output, const std::string& id) {
  for (const auto& group : output["groups"]) {
    if (group["id"] == id) return &group;
  }
  return nullptr;
}

// Worktree folders git still lists, without the main one.
std::vector<std::string> listedWorktrees(const GitSandbox& git, const std::string& repo) {
  std::vector<std::string> paths;
  for (const auto& line : splitLines(git.run(repo, {"worktree", "list", "--porcelain"}))) {
    if (line.starts_with("worktree ") && line.substr(9) != repo) paths.push_back(line.substr(9));
  }
  return paths;
}

// One repository with a remote and worktrees in every state, one without a remote, and
// one with no extra worktrees at all.
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
    pushedWorktree(ahead, "ahead");
    git.commitFile(ahead, "a.txt", "1\n");
    git.commitFile(ahead, "b.txt", "2\n");
    pushedWorktree(locked, "keep");
    git.run(app, {"worktree", "lock", locked});
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
  std::string ahead = home / "trees/ahead";
  std::string locked = home / "trees/locked";
  std::string gone = home / "trees/gone";
  std::string solo = home / "code/solo";
  std::string soloTree = home / "trees/solo-try";
};

}  // namespace

TEST_F(WorktreesCommand, ListsExtraWorktreesWithTheirStateAndPreselectsOnlySafeOnes) {
  const auto result = runTidewarden({"worktrees", "--json"});
  ASSERT_EQ(result.code, 0) << result.err;
  const auto output = nlohmann::json::parse(result.out);
  EXPECT_TRUE(output["note"].is_null());
  ASSERT_EQ(output["groups"].size(), 2u);

  const auto& group = *groupWithId(output, app);
  EXPECT_EQ(group["title"], "app");
  EXPECT_EQ(group["subtitle"], "~/code/app \u00b7 6 worktrees");
  EXPECT_THAT(group["badges"], IsEmpty());

  const auto& safe = *itemNamed(group, "safe one");
  EXPECT_EQ(safe["badges"], nlohmann::json({"safe-space", "safe to remove"}));
  EXPECT_TRUE(safe["selected"]);
  EXPECT_TRUE(safe["warning"].is_null());
  const auto& odd = *itemNamed(group, "caf\xef\xbf\xbd");
  EXPECT_EQ(odd["badges"], nlohmann::json({"safe-odd", "safe to remove"}));
  EXPECT_TRUE(odd["selected"]);

  const auto& dirtyItem = *itemNamed(group, "dirty");
  EXPECT_EQ(dirtyItem["badges"], nlohmann::json({"dirty", "1 uncommitted"}));
  EXPECT_FALSE(dirtyItem["selected"]);
  EXPECT_EQ(dirtyItem["warning"], "dirty: uncommitted changes");

  const auto& aheadItem = *itemNamed(group, "ahead");
  EXPECT_EQ(aheadItem["badges"], nlohmann::json({"ahead", "2 unpushed"}));
  EXPECT_FALSE(aheadItem["selected"]);
  EXPECT_EQ(aheadItem["warning"], "ahead: commits not on any remote");

  const auto& lockedItem = *itemNamed(group, "locked");
  EXPECT_EQ(lockedItem["badges"], nlohmann::json({"keep", "locked", "safe to remove"}));
  EXPECT_FALSE(lockedItem["selected"]);
  EXPECT_EQ(lockedItem["warning"], "locked: is locked");

  const auto& goneItem = *itemNamed(group, "gone");
  EXPECT_EQ(goneItem["badges"], nlohmann::json({"missing"}));
  EXPECT_TRUE(goneItem["selected"]);
  EXPECT_EQ(goneItem["detail"], "Folder is gone; git still tracks it");
  EXPECT_EQ(goneItem["action"], "git -C " + app + " worktree prune");

  const auto& soloGroup = *groupWithId(output, solo);
  EXPECT_EQ(soloGroup["subtitle"], "~/code/solo \u00b7 1 worktree");
  const auto& soloItem = soloGroup["items"][0];
  EXPECT_EQ(soloItem["badges"], nlohmann::json({"try", "no remote"}));
  EXPECT_FALSE(soloItem["selected"]);
  EXPECT_EQ(soloItem["warning"], "solo-try: commits not on any remote");
}

TEST_F(WorktreesCommand, CleanRemovesOnlySafeWorktreesAndPrunesMissingOnes) {
  const auto preview = runTidewarden({"worktrees", "clean", "--selected", "--dry-run", "--json"});
  ASSERT_EQ(preview.code, 0) << preview.err;
  EXPECT_EQ(nlohmann::json::parse(preview.out)["count"], 3);
  EXPECT_TRUE(exists(safeSpace));

  const auto result = runTidewarden({"worktrees", "clean", "--selected", "--yes", "--json"});
  ASSERT_EQ(result.code, 0) << result.out << result.err;
  const auto summary = nlohmann::json::parse(result.out);
  EXPECT_EQ(summary["done"], 3);
  EXPECT_THAT(summary["failed"], IsEmpty());

  EXPECT_FALSE(exists(safeSpace));
  EXPECT_FALSE(exists(safeOdd));
  EXPECT_EQ(readFile(dirty + "/notes.txt"), "work in progress\n");
  EXPECT_TRUE(exists(ahead + "/b.txt"));
  EXPECT_TRUE(exists(locked + "/README.md"));
  EXPECT_THAT(listedWorktrees(git, app), UnorderedElementsAre(dirty, ahead, locked));
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
