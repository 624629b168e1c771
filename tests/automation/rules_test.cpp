#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>

#include "automation/prefs.h"
#include "automation/rule_locations.h"
#include "automation/rules.h"
#include "core/history.h"
#include "core/removal_service.h"
#include "core/settings.h"
#include "core/shell.h"
#include "support/fake_home.h"
#include "support/git_sandbox.h"

namespace tw {
namespace {

using namespace std::chrono_literals;

std::vector<std::string> idsOf(const std::vector<DevItem>& items) {
  std::vector<std::string> ids;
  for (const auto& item : items) ids.push_back(item.id);
  std::sort(ids.begin(), ids.end());
  return ids;
}

// Removes a rule's items through the one removal service, recorded under the rule's label.
RemovalReport removeUnattended(const Context& context, const std::vector<DevItem>& items, const char* label) {
  std::vector<RemovalItem> removals;
  for (const auto& item : items) removals.push_back(RemovalItem::of(item));
  RemovalOptions options;
  options.category = label;
  return runRemovals(context, removals, options);
}

TEST(SmartCleanRule, TakesTheSafeCategoriesAndNeverTheTrashOrTheInstallers) {
  test::FakeHome home;
  const Context context = home.context();
  const auto pip = home.file(".cache/pip/http/blob", 40'000);
  const auto npm = home.file(".npm/_cacache/index-v5/entry", 30'000);
  home.folder(".cache/empty-tool");  // measures zero: not offered
  const auto trashed = home.file(".local/share/Trash/files/old-project/main.c", 50'000);
  home.fileWithContents(".local/share/Trash/info/old-project.trashinfo",
                        "[Trash Info]\nPath=/tmp/old-project\nDeletionDate=2026-01-01T10:00:00\n");
  const auto installer = home.file("Downloads/tool-installer.iso", 60'000);
  const auto model = home.file(".cache/huggingface/hub/model.bin", 70'000);

  const auto items = Rules::smartClean(context);
  EXPECT_EQ(idsOf(items), (std::vector<std::string>{home / ".cache/pip", home / ".npm/_cacache"}));
  for (const auto& item : items) {
    EXPECT_TRUE(std::holds_alternative<DevAction::RemovePaths>(item.action.value)) << item.id;
    EXPECT_GT(item.freeable.value_or(0), 0) << item.id;
  }

  // Removed the way the runner removes them: the caches go, the Trash, the installer and
  // the model stay.
  const auto report = removeUnattended(context, items, Rules::smartCleanLabel);
  EXPECT_EQ(report.count(ActionOutcome::Status::done), 2u);
  EXPECT_FALSE(test::exists(pip));
  EXPECT_FALSE(test::exists(npm));
  EXPECT_TRUE(test::exists(trashed));
  EXPECT_TRUE(test::exists(installer));
  EXPECT_TRUE(test::exists(model));
  const auto entries = context.history->entries();
  ASSERT_EQ(entries.size(), 2u);
  EXPECT_EQ(entries[0].category, "Auto-clean \u00b7 Smart Clean");
}

TEST(DerivedDataRule, YieldsNothingOnLinuxAndEveryEntryWhereTheTableNamesTheFolder) {
  test::FakeHome home;
  const Context context = home.context();
  home.file("Library/Developer/Xcode/DerivedData/App-abc/Build/obj.o", 80'000);
  home.file("Library/Developer/Xcode/DerivedData/Lib-def/Index/store", 20'000);

  EXPECT_FALSE(linuxRuleTable().derivedDataFolder.has_value());
  EXPECT_TRUE(Rules::derivedData(context, linuxRuleTable()).empty());
  EXPECT_TRUE(Rules::derivedData(context).empty());  // this build's table is Linux's

  const auto items = Rules::derivedData(context, macOSRuleTable());
  EXPECT_EQ(idsOf(items), (std::vector<std::string>{home / "Library/Developer/Xcode/DerivedData/App-abc",
                                                    home / "Library/Developer/Xcode/DerivedData/Lib-def"}));
  for (const auto& item : items) {
    EXPECT_EQ(item.restoreHint, "Rebuilt on the next Xcode build");
    EXPECT_GE(item.size.value_or(0), 20'000);
  }
}

TEST(ProjectLeftoversRule, TakesTheArtifactsOfProjectsIdleForTheGivenDaysOnly) {
  test::FakeHome home;
  const Context context = home.context();
  home.fileWithContents("code/old/package.json", "{}");
  home.file("code/old/node_modules/left-pad/index.js", 10'000);
  home.fileWithContents("code/fresh/package.json", "{}");
  home.file("code/fresh/node_modules/react/index.js", 10'000);
  test::setModificationTime(home / "code/old", 90 * 86'400);
  test::setModificationTime(home / "code/fresh", 10 * 86'400);
  context.settings->set("projectRoots", nlohmann::json::array({home / "code"}));

  EXPECT_EQ(idsOf(Rules::projectLeftovers(context, 60)), (std::vector<std::string>{home / "code/old/node_modules"}));
  EXPECT_EQ(idsOf(Rules::projectLeftovers(context, 5)),
            (std::vector<std::string>{home / "code/fresh/node_modules", home / "code/old/node_modules"}));
  EXPECT_TRUE(Rules::projectLeftovers(context, 120).empty());
}

// Real repositories with extra worktrees, for the merged-worktrees rule.
class MergedWorktreesTest : public ::testing::Test {
 protected:
  test::GitSandbox git;  // before the context, so the context's environment has its settings
  test::FakeHome home;
  Context context = home.context();

  void SetUp() override {
    if (!Shell::which("git", context)) GTEST_SKIP() << "git is not installed";
  }

  // A repository whose only branch is `branch`, with one commit.
  std::string repository(const std::string& name, const std::string& branch) {
    const std::string repo = home.folder(name);
    git.run(repo, {"init", "--quiet", "-b", branch});
    git.commitFile(repo, "README.md", "hello\n");
    return repo;
  }

  std::string worktree(const std::string& repo, const std::string& name, const std::string& branch) {
    const std::string path = home / name;
    git.run(repo, {"worktree", "add", "--quiet", "-b", branch, path});
    return path;
  }

  std::string base(const std::string& repo) {
    return Rules::baseBranch(repo, *Shell::which("git", context), context).value_or("none");
  }
};

TEST_F(MergedWorktreesTest, TheBaseBranchIsTheFirstOfOriginHeadOriginMainOriginMasterMainMaster) {
  const auto onlyMaster = repository("only-master", "master");
  EXPECT_EQ(base(onlyMaster), "master");

  const auto both = repository("both", "master");
  git.run(both, {"branch", "main"});
  EXPECT_EQ(base(both), "main");

  const auto clone = home / "clone";
  git.run(home.path(), {"clone", "--quiet", both, clone});
  EXPECT_EQ(base(clone), "origin/HEAD");
  git.run(clone, {"remote", "set-head", "origin", "--delete"});
  EXPECT_EQ(base(clone), "origin/main");

  const auto trunk = repository("trunk-only", "trunk");
  EXPECT_EQ(base(trunk), "none");
}

TEST_F(MergedWorktreesTest, TakesMergedCleanWorktreesOnlyAndLeavesEverythingElse) {
  const auto repo = repository("app", "master");
  const auto merged = worktree(repo, "app-merged", "done");
  const auto ahead = worktree(repo, "app-ahead", "feature");
  git.commitFile(ahead, "feature.txt", "new work\n");
  const auto dirty = worktree(repo, "app-dirty", "dirty");
  test::writeFile(dirty + "/notes.txt", "not committed\n");
  const auto locked = worktree(repo, "app-locked", "locked");
  git.run(repo, {"worktree", "lock", locked});
  const auto unreadable = worktree(repo, "app-unreadable", "unreadable");
  // Its link to the repository is broken, so git cannot tell what it holds.
  test::writeFile(unreadable + "/.git", "gitdir: " + (home / "nowhere") + "\n");
  const auto gone = worktree(repo, "app-gone", "gone");
  test::removeTree(gone);

  // A repository with none of the five base refs contributes nothing.
  const auto trunk = repository("lib", "trunk");
  worktree(trunk, "lib-merged", "done-too");

  const auto items = Rules::mergedWorktrees(context);
  EXPECT_EQ(idsOf(items), std::vector<std::string>{merged});

  const auto report = removeUnattended(context, items, Rules::worktreesLabel);
  EXPECT_EQ(report.count(ActionOutcome::Status::done), 1u);
  EXPECT_FALSE(test::exists(merged));
  for (const auto& kept : {ahead, dirty, locked, unreadable, home / "lib-merged"})
    EXPECT_TRUE(test::exists(kept)) << kept;
  EXPECT_EQ(test::readFile(dirty + "/notes.txt"), "not committed\n");
  const auto entries = context.history->entries();
  ASSERT_EQ(entries.size(), 1u);
  EXPECT_EQ(entries[0].category, "Auto-clean \u00b7 Worktrees");
  EXPECT_EQ(entries[0].name, "app-merged");
  EXPECT_EQ(git.run(repo, {"worktree", "list", "--porcelain"}).find(merged), std::string::npos);
}

}  // namespace
}  // namespace tw
