#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "support/fake_home.h"
#include "support/screen_output.h"

namespace tw::test {
namespace {

constexpr std::int64_t day = 86400;

TEST(HomeIsNotAProject, ADotfilesRepositoryAtHomeLeavesTheProjectsBelowItFound) {
  FakeHome home;
  writeFile(home / ".git/HEAD", "ref: refs/heads/main\n");  // dotfiles kept in git
  writeFile(home / ".git/index", "DIRC");
  home.file("package.json", 20);
  home.file("node_modules/left/index.js", 100);
  home.file("code/web/package.json", 20);
  home.file("code/web/node_modules/dep/index.js", 40'000);
  writeFile(home / "code/web/.git/HEAD", "ref: refs/heads/main\n");
  writeFile(home / "code/web/.git/index", "DIRC");
  setModificationTime(home / "code/web/.git/index", 40 * day);

  const auto run = runTidewarden({"projects", "--json"});
  ASSERT_EQ(run.code, 0) << run.err;
  const auto output = nlohmann::json::parse(run.out);
  std::vector<std::string> ids;
  for (const auto& group : output["groups"]) ids.push_back(group["id"]);
  EXPECT_EQ(ids, std::vector<std::string>{home / "code/web"});
  EXPECT_TRUE(itemNamed(groupWithId(output, home / "code/web"), "node_modules")["selected"].get<bool>());
}

}  // namespace
}  // namespace tw::test
