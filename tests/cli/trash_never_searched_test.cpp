#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "support/fake_home.h"
#include "support/git_sandbox.h"
#include "support/programs.h"
#include "support/screen_output.h"

namespace tw::test {
namespace {

void makeWebProject(const GitSandbox& git, const std::string& path) {
  git.initRepository(path);
  writeFile(path + "/package.json", "{}");
  writeFilledFile(path + "/node_modules/dep/index.js", 40'000);
}

// A project, a repository and its worktree that were moved to the Trash, once where the
// user's own data folder keeps it and once in a volume's Trash inside a live project.
TEST(TrashNeverSearched, ProjectsGitAndWorktreesLeaveTrashedRepositoriesAlone) {
  FakeHome home;
  if (!isInstalled("trash-put")) GTEST_SKIP() << "trash-put (trash-cli) is not installed";
  const GitSandbox git;
  const std::string dataHome = home / "data";
  makeWebProject(git, home / "code/site");
  makeWebProject(git, home / "code/old-site");
  git.run(home / "code/old-site", {"worktree", "add", "-q", home / "code/old-site/wt/feature", "-b", "feature"});
  ASSERT_EQ(runProcess({"trash-put", home / "code/old-site"}, {{"XDG_DATA_HOME", dataHome}}).code, 0);
  ASSERT_TRUE(exists(dataHome + "/Trash/files/old-site/node_modules"));
  writeFile(home / "code/site/.Trash-1000/files/older/package.json", "{}");
  writeFilledFile(home / "code/site/.Trash-1000/files/older/node_modules/dep/index.js", 40'000);
  const std::map<std::string, std::optional<std::string>> env{{"XDG_DATA_HOME", dataHome}};

  for (const std::string screen : {"projects", "git", "worktrees"}) {
    const RunResult run = runTidewarden({screen, "--json"}, env);
    ASSERT_EQ(run.code, 0) << screen << ": " << run.err;
    EXPECT_EQ(run.out.find("Trash"), std::string::npos) << screen << ": " << run.out;
  }
  const auto projects = nlohmann::json::parse(runTidewarden({"projects", "--json"}, env).out);
  EXPECT_EQ(fieldOf(projects["groups"], "id"), std::vector<std::string>{home / "code/site"});
  const auto worktrees = nlohmann::json::parse(runTidewarden({"worktrees", "--json"}, env).out);
  EXPECT_TRUE(worktrees["groups"].empty()) << worktrees.dump();
}

}  // namespace
}  // namespace tw::test
