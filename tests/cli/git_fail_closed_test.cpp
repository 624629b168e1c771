#include <gtest/gtest.h>
#include <sys/stat.h>

#include <nlohmann/json.hpp>

#include "support/fake_home.h"
#include "support/git_sandbox.h"
#include "support/screen_output.h"

// Git's view of a repository decides what may go; when git cannot give it, nothing goes,
// and reading a repository never runs a program that its own configuration names.
namespace tw::test {
namespace {

class GitFailClosed : public ::testing::Test {
 protected:
  void SetUp() override {
    git.initRepositoryWithRemote(app, remote);
    git.run(app, {"worktree", "add", "--quiet", "-b", "feature", tree});
    git.run(tree, {"push", "--quiet", "origin", "feature"});
  }

  nlohmann::json worktrees() {
    const auto run = runTidewarden({"worktrees", "--json"});
    EXPECT_EQ(run.code, 0) << run.err;
    return nlohmann::json::parse(run.out);
  }

  FakeHome home;
  GitSandbox git;
  std::string remote = home / "remotes/app.git";
  std::string app = home / "code/app";
  std::string tree = home / "trees/feature";
};

TEST_F(GitFailClosed, AWorktreeWhoseIndexIsDamagedIsStateUnknownAndNeverSelected) {
  ASSERT_TRUE(itemNamed(groupWithId(worktrees(), app), "feature")["selected"].get<bool>()) << "clean and pushed";
  writeFile(app + "/.git/worktrees/feature/index", "DIRC this is not an index");

  const auto item = itemNamed(groupWithId(worktrees(), app), "feature");
  EXPECT_FALSE(item["selected"].get<bool>());
  EXPECT_EQ(item["badges"], nlohmann::json::array({"feature", "state unknown"}));
  const std::string warning = item["warning"].is_string() ? item["warning"].get<std::string>() : "";
  EXPECT_TRUE(warning.starts_with("feature: git could not read its state (")) << warning;
  const auto clean = runTidewarden({"worktrees", "clean", "--selected", "--yes"});
  EXPECT_EQ(clean.out, "No pre-selected Worktrees items. Nothing to do.\n") << clean.err;
  EXPECT_TRUE(exists(tree + "/README.md"));
}

TEST_F(GitFailClosed, ListingRepositoriesRunsNoProgramTheirConfigurationNames) {
  const std::string marker = home / "ran";
  const std::string program = writeExecutable(home / "bin/planted", "#!/bin/sh\ntouch '" + marker + "'\n");
  git.run(app, {"config", "core.fsmonitor", program});
  git.run(app, {"config", "core.pager", program});
  git.run(app, {"config", "filter.planted.clean", program});
  git.run(app, {"config", "filter.planted.process", program});
  writeFile(tree + "/.gitattributes", "* filter=planted\n");
  writeFile(tree + "/changed.txt", "new\n");
  writeFile(app + "/.git/hooks/post-index-change", "#!/bin/sh\ntouch '" + marker + "'\n");
  ASSERT_EQ(::chmod((app + "/.git/hooks/post-index-change").c_str(), 0755), 0);
  ASSERT_NE(git.tryRun(tree, {"status"}).code, -1);
  ASSERT_TRUE(exists(marker)) << "the planted programs really run under plain git";
  removeTree(marker);

  for (const auto& command :
       {std::vector<std::string>{"worktrees", "--json"}, {"git", "--json"}, {"projects", "--json"}, {"worktrees"}}) {
    const auto run = runTidewarden(command);
    EXPECT_EQ(run.code, 0) << run.err;
    EXPECT_FALSE(exists(marker)) << command.front();
  }
}

}  // namespace
}  // namespace tw::test
