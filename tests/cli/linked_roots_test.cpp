// A folder that a search starts from may be a link to a folder on another disk: it is
// followed there, once, and no link below it is; removals through it stay anchored.
#include <gtest/gtest.h>
#include <unistd.h>

#include <nlohmann/json.hpp>

#include "core/settings.h"
#include "support/fake_home.h"
#include "support/git_sandbox.h"
#include "support/programs.h"
#include "support/screen_output.h"

namespace tw::test {
namespace {

constexpr std::int64_t day = 86400;

void link(const std::string& target, const std::string& at) { ASSERT_EQ(::symlink(target.c_str(), at.c_str()), 0); }

void makeIdleWebProject(const GitSandbox& git, const std::string& path) {
  git.initRepository(path);
  writeFile(path + "/package.json", "{}");
  writeFilledFile(path + "/node_modules/dep/index.js", 40'000);
  setModificationTime(path + "/.git/index", 40 * day);
}

const nlohmann::json& categoryWithId(const nlohmann::json& output, const std::string& id) {
  return entryWith(output["categories"], "id", id);
}

TEST(LinkedRoots, AProjectRootThatIsALinkIsSearchedAndCleanedButNoLinkBelowIt) {
  FakeHome home;
  const GitSandbox git;
  const TempFolder disk("tw-linked-root");
  const TempFolder beyond("tw-beyond-root");
  makeIdleWebProject(git, disk / "code/web");
  git.run(disk / "code/web", {"worktree", "add", "--quiet", "-b", "try", disk / "code/web-try"});
  makeIdleWebProject(git, beyond / "other");
  link(beyond / "other", disk / "code/other");  // a link below the root
  writeFile(beyond / "canary/keep.txt", "precious");
  link(beyond / "canary", disk / "code/web/node_modules/escape");
  link(disk / "code", home / "code");
  home.context().settings->set(DevSettings::projectRootsKey, nlohmann::json::array({home / "code"}));

  const auto projects = nlohmann::json::parse(runTidewarden({"projects", "--json"}).out);
  EXPECT_EQ(fieldOf(projects["groups"], "id"), std::vector<std::string>{home / "code/web"}) << projects.dump();
  const auto worktrees = nlohmann::json::parse(runTidewarden({"worktrees", "--json"}).out);
  EXPECT_EQ(fieldOf(worktrees["groups"], "id"), std::vector<std::string>{home / "code/web"}) << worktrees.dump();

  const RunResult cleaned = runTidewarden({"projects", "clean", "--selected", "--yes", "--json"});

  ASSERT_EQ(cleaned.code, 0) << cleaned.out << cleaned.err;
  EXPECT_EQ(nlohmann::json::parse(cleaned.out)["done"], 1) << cleaned.out;
  EXPECT_FALSE(exists(disk / "code/web/node_modules"));
  EXPECT_EQ(readFile(beyond / "canary/keep.txt"), "precious");
  EXPECT_TRUE(exists(beyond / "other/node_modules/dep/index.js"));
  EXPECT_TRUE(exists(disk / "code/web/package.json"));
}

TEST(LinkedRoots, ACacheAndDownloadsKeptOnAnotherDiskAreListedAndCleanedOnceTheUserNamesTheFolder) {
  FakeHome home;
  const TempFolder disk("tw-linked-cache");
  writeFilledFile(disk / "cache/pip/wheels/one.whl", 50'000);
  writeFile(disk / "canary/keep.txt", "precious");
  link(disk / "canary", disk / "cache/pip/escape");
  writeFilledFile(disk / "downloads/tool-1.0.iso", 50'000);
  link(disk / "cache", home / ".cache");
  link(disk / "downloads", home / "Downloads");
  // The folders the XDG defaults name, not ones set in the environment.
  std::map<std::string, std::optional<std::string>> env{{"XDG_CACHE_HOME", std::nullopt},
                                                        {"TIDEWARDEN_JUNK_TABLE", "linux"}};

  const RunResult listed = runTidewarden({"junk", "--json"}, env);
  ASSERT_EQ(listed.code, 0) << listed.err;
  const auto junk = nlohmann::json::parse(listed.out);
  EXPECT_EQ(categoryWithId(junk, "caches")["count"], 1) << listed.out;
  EXPECT_EQ(categoryWithId(junk, "installers")["count"], 1) << listed.out;

  // Anyone could have put a link in the home folder: removals from it never follow one.
  const RunResult refused = runTidewarden({"clean", "--safe", "--yes"}, env);
  EXPECT_EQ(refused.code, 1) << refused.out << refused.err;
  EXPECT_NE(refused.out.find("  ~/.cache/pip: it is reached through the link ~/.cache, which removals never follow; "
                             "name the folder it leads to in XDG_CACHE_HOME"),
            std::string::npos)
      << refused.out;
  EXPECT_TRUE(exists(disk / "cache/pip/wheels/one.whl"));

  env["XDG_CACHE_HOME"] = disk / "cache";
  const RunResult cleaned = runTidewarden({"clean", "--safe", "--yes"}, env);

  EXPECT_EQ(cleaned.code, 0) << cleaned.out << cleaned.err;
  EXPECT_FALSE(exists(disk / "cache/pip"));
  EXPECT_TRUE(exists(disk / "cache"));
  EXPECT_EQ(readFile(disk / "canary/keep.txt"), "precious");
  EXPECT_TRUE(exists(disk / "downloads/tool-1.0.iso")) << "installers are never cleaned unasked";
}

}  // namespace
}  // namespace tw::test

namespace tw::test {

TEST(LinkedRoots, AHomeTrashKeptOnAnotherDiskIsListedAndEmptiedFromTheFolderTheUserNames) {
  FakeHome home;
  if (!isInstalled("trash-put")) GTEST_SKIP() << "trash-put (trash-cli) is not installed";
  const TempFolder disk("tw-linked-trash");
  makeFolders(disk / "data/Trash");
  makeFolders(home / ".local/share");
  link(disk / "data/Trash", home / ".local/share/Trash");
  writeFile(disk / "canary/keep.txt", "precious");
  link(disk / "canary", home / "shortcut");
  ASSERT_EQ(runProcess({"trash-put", home.file("Documents/old.bin", 50'000), home / "shortcut"}).code, 0);
  ASSERT_TRUE(exists(disk / "data/Trash/files/old.bin"));

  const auto listed = nlohmann::json::parse(runTidewarden({"trash", "--json"}).out);
  EXPECT_EQ(listed["count"], 2) << listed.dump();
  // From the home folder the link is never followed.
  const RunResult refused = runTidewarden({"trash", "empty", "--yes"});
  EXPECT_EQ(refused.code, 1) << refused.out << refused.err;
  EXPECT_TRUE(exists(disk / "data/Trash/files/old.bin"));

  const RunResult emptied = runTidewarden({"trash", "empty", "--yes"}, {{"XDG_DATA_HOME", disk / "data"}});

  EXPECT_EQ(emptied.code, 0) << emptied.out << emptied.err;
  EXPECT_FALSE(exists(disk / "data/Trash/files/old.bin") || exists(disk / "data/Trash/info/old.bin.trashinfo"));
  EXPECT_EQ(readFile(disk / "canary/keep.txt"), "precious");
  EXPECT_TRUE(exists(disk / "data/Trash/files")) << "the Trash itself stays";
}

}  // namespace tw::test
