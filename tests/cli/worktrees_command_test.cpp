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
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::StartsWith;
using ::testing::UnorderedElementsAre;

// Each worktree as a user reads it: folder name, badges, "*" when pre-selected, warning.
std::vector<std::string> summaries(const nlohmann::json& group) {
  std::vector<std::string> lines;
  for (const auto& item : group["items"]) {
    std::string text = item["name"];
    for (const auto& badge : item["badges"]) text += " [" + badge.get<std::string>() + "]";
    if (item["selected"]) text += " *";
    if (!item["warning"].is_null()) text += " ! " + item["warning"].get<std::string>();
    lines.push_back(text);
  }
  return lines;
}

const nlohmann::json& itemWithId(const nlohmann::json& group, const std::string& id) {
  for (const auto& item : group["items"]) {
    if (item["id"] == id) return item;
  }
  throw std::runtime_error("no item " + id);
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
    git.initRepositoryWithRemote(app, remote);

    pushedWorktree(safeSpace, "safe-space");
    pushedWorktree(safeOdd, "safe-odd");
    pushedWorktree(dirty, "dirty");
    writeFile(dirty + "/notes.txt", "work in progress\n");
    pushedWorktree(ahead, "ahead");
    git.commitFile(ahead, "a.txt", "1\n");
    git.commitFile(ahead, "b.txt", "2\n");
    pushedWorktree(both, "both");
    writeFile(both + "/notes.txt", "more work\n");
    git.commitFile(both, "c.txt", "3\n");
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
  std::string both = home / "trees/both";
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
  const auto& group = output["groups"][0];
  EXPECT_EQ(group["id"], app);
  EXPECT_EQ(group["title"], "app");
  EXPECT_EQ(group["subtitle"], "~/code/app \u00b7 7 worktrees");
  EXPECT_THAT(group["badges"], IsEmpty());
  EXPECT_THAT(summaries(group),
              UnorderedElementsAre(
                  "safe one [safe-space] [safe to remove] *", "caf\xef\xbf\xbd [safe-odd] [safe to remove] *",
                  "dirty [dirty] [1 uncommitted] ! dirty: uncommitted changes",
                  "ahead [ahead] [2 unpushed] ! ahead: commits not on any remote",
                  "both [both] [1 uncommitted] [1 unpushed] ! both: uncommitted changes, commits not on any remote",
                  "locked [keep] [locked] [safe to remove] ! locked: is locked", "gone [missing] *"));
  EXPECT_EQ(output["groups"][1]["subtitle"], "~/code/solo \u00b7 1 worktree");
  EXPECT_THAT(summaries(output["groups"][1]),
              ElementsAre("solo-try [try] [no remote] ! solo-try: commits not on any remote"));

  for (const auto& item : group["items"]) {
    if (item["id"] == gone) continue;
    EXPECT_THAT(item["detail"].get<std::string>(), StartsWith("Last commit ")) << item["id"];
    EXPECT_THAT(item["detail"].get<std::string>(), EndsWith(" \u00b7 " + item["id"].get<std::string>()));
    EXPECT_GT(item["size"].get<std::int64_t>(), 0) << item["id"];
    EXPECT_EQ(item["path"], item["id"]);
  }
  // Removal goes through git, forced twice for a locked worktree; a vanished one is pruned.
  EXPECT_EQ(itemWithId(group, safeSpace)["action"], "git -C " + app + " worktree remove --force '" + safeSpace + "'");
  EXPECT_EQ(itemWithId(group, locked)["action"], "git -C " + app + " worktree remove --force --force " + locked);
  EXPECT_EQ(itemWithId(group, gone)["detail"], "Folder is gone; git still tracks it");
  EXPECT_EQ(itemWithId(group, gone)["action"], "git -C " + app + " worktree prune");
  EXPECT_TRUE(itemWithId(group, gone)["path"].is_null());
}

TEST_F(WorktreesCommand, CleanRemovesOnlySafeWorktreesAndPrunesMissingOnes) {
  const auto result = runTidewarden({"worktrees", "clean", "--selected", "--yes", "--json"});
  ASSERT_EQ(result.code, 0) << result.out << result.err;
  const auto summary = nlohmann::json::parse(result.out);
  EXPECT_EQ(summary["done"], 3);
  EXPECT_THAT(summary["failed"], IsEmpty());

  EXPECT_FALSE(exists(safeSpace) || exists(safeOdd));
  EXPECT_EQ(readFile(dirty + "/notes.txt"), "work in progress\n");
  EXPECT_TRUE(exists(ahead + "/b.txt") && exists(both + "/notes.txt") && exists(locked + "/README.md"));
  EXPECT_THAT(listedWorktrees(git, app), UnorderedElementsAre(dirty, ahead, both, locked));
  EXPECT_THAT(listedWorktrees(git, solo), ElementsAre(soloTree));
  // The branches stay; only the checked-out folders go.
  EXPECT_NE(git.run(app, {"branch", "--list", "safe-space"}), "");

  std::vector<std::string> names;
  for (const auto& entry : home.context().history->entries()) names.push_back(validUtf8(entry.name));
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

namespace tw::test {

// Coding agents keep a bare clone and check out one worktree per task beside it, or keep
// the bare clone in ".bare" behind a ".git" file; git itself can keep the repository apart
// from its files (--separate-git-dir).
TEST(WorktreesOfEveryLayout, BareRepositoriesAndGitFilesListTheirWorktreesOnce) {
  FakeHome home;
  GitSandbox git;
  const std::string origin = home / "src/origin";
  git.initRepository(origin);
  const std::string bare = home / "code/agent.git";
  git.run(home.path(), {"clone", "--quiet", "--bare", origin, bare});
  git.run(bare, {"worktree", "add", "--quiet", "-b", "fix", home / "code/agent-tasks/fix"});
  git.run(bare, {"worktree", "add", "--quiet", "-b", "docs", home / "code/agent-tasks/docs"});
  const std::string tool = home / "code/tool";
  git.run(home.path(), {"clone", "--quiet", "--bare", origin, tool + "/.bare"});
  writeFile(tool + "/.git", "gitdir: ./.bare\n");
  git.run(tool, {"worktree", "add", "--quiet", "-b", "feature", tool + "/feature"});
  const std::string apart = home / "code/apart";
  makeFolders(home / "gitdirs");
  git.run(home.path(), {"init", "--quiet", "-b", "main", "--separate-git-dir", home / "gitdirs/apart", apart});
  git.commitFile(apart, "README.md", "apart\n");
  git.run(apart, {"worktree", "add", "--quiet", "-b", "try", home / "trees/apart-try"});

  const auto result = runTidewarden({"worktrees", "--json"});

  ASSERT_EQ(result.code, 0) << result.err;
  const auto output = nlohmann::json::parse(result.out);
  std::map<std::string, std::vector<std::string>> listed;  // group id: worktree ids
  for (const auto& group : output["groups"]) {
    for (const auto& item : group["items"]) listed[group["id"]].push_back(item["id"]);
    std::sort(listed[group["id"]].begin(), listed[group["id"]].end());
  }
  EXPECT_EQ(listed, (std::map<std::string, std::vector<std::string>>{
                        {bare, {home / "code/agent-tasks/docs", home / "code/agent-tasks/fix"}},
                        {tool, {tool + "/feature"}},
                        {apart, {home / "trees/apart-try"}},
                    }))
      << result.out;
  // git read each one's state in the repository that owns it, and removes it there.
  for (const auto& group : output["groups"]) {
    for (const auto& item : group["items"]) {
      EXPECT_THAT(summaries({{"items", {item}}}).front(), Not(HasSubstr("state unknown"))) << item.dump();
      EXPECT_THAT(item["action"].get<std::string>(), StartsWith("git -C " + group["id"].get<std::string>() + " "));
    }
  }
}

}  // namespace tw::test
