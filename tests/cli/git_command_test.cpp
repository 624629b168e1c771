#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "core/format.h"
#include "screens/git_repos.h"
#include "support/fake_home.h"
#include "support/git_sandbox.h"

namespace tw::test {
namespace {

using ::testing::IsEmpty;

constexpr std::int64_t blobBytes = 5'000'000;

// Writes `count` distinct, unreachable blobs straight into the object store, stored
// without compression so the loose size on disk is what was written.
void addLooseBlobs(const GitSandbox& git, const std::string& repo, int count, const std::string& scratch) {
  std::vector<std::string> arguments{"-c", "core.looseCompression=0", "hash-object", "-w", "--"};
  for (int index = 0; index < count; ++index) {
    const std::string file = scratch + "/blob" + std::to_string(index);
    writeFilledFile(file, blobBytes, static_cast<char>('A' + index));
    arguments.push_back(file);
  }
  git.run(repo, arguments);
  removeTree(scratch);
}

GitRepos::Stats objectStats(const GitSandbox& git, const std::string& repo) {
  return GitRepos::parse(git.run(repo, {"count-objects", "-v"}));
}

}  // namespace

TEST(GitCommand, OffersBloatedRepositoriesAndGcShrinksThem) {
  FakeHome home;
  GitSandbox git;
  const std::string bloated = home / "code/bloated repo";
  const std::string busy = home / "code/busy";
  git.initRepository(bloated);
  git.initRepository(busy);
  git.initRepository(home / "code/tidy");
  addLooseBlobs(git, bloated, 42, home / "scratch-a");  // ~210 MB: above the pre-selection line
  addLooseBlobs(git, busy, 12, home / "scratch-b");     // ~60 MB: offered, not pre-selected
  writeFile(busy + "/.git/index.lock", "");

  const auto before = objectStats(git, bloated);
  ASSERT_GT(before.looseBytes, 199'999'999);
  ASSERT_GE(before.looseCount, 42);

  const auto listed = runTidewarden({"git", "--json"});
  ASSERT_EQ(listed.code, 0) << listed.err;
  const auto output = nlohmann::json::parse(listed.out);
  ASSERT_EQ(output["groups"].size(), 1u);
  const auto& group = output["groups"][0];
  EXPECT_EQ(group["id"], "git-bloat");
  EXPECT_EQ(group["title"], "Bloated Git Repositories");
  EXPECT_EQ(group["subtitle"], "Loose objects and leftovers that git gc packs or removes.");
  ASSERT_EQ(group["items"].size(), 2u);

  const auto& first = group["items"][0];
  EXPECT_EQ(first["id"], bloated);
  EXPECT_EQ(first["name"], "bloated repo");
  EXPECT_EQ(first["freeable"], before.looseBytes);
  EXPECT_EQ(first["badges"], nlohmann::json({byteFormatter(before.looseBytes) + " loose"}));
  EXPECT_TRUE(first["selected"]);
  EXPECT_EQ(first["warning"], "bloated repo: unreachable objects are deleted right away");
  EXPECT_GE(first["size"].get<std::int64_t>(), before.looseBytes);

  const auto& second = group["items"][1];
  EXPECT_EQ(second["id"], busy);
  EXPECT_EQ(second["badges"],
            nlohmann::json({byteFormatter(objectStats(git, busy).looseBytes) + " loose", "git is running"}));
  EXPECT_FALSE(second["selected"]);
  EXPECT_EQ(second["warning"], "busy: another git process seems to be running (index.lock exists)");

  const auto cleaned = runTidewarden({"git", "clean", "--selected", "--yes", "--json"});
  ASSERT_EQ(cleaned.code, 0) << cleaned.out << cleaned.err;
  const auto summary = nlohmann::json::parse(cleaned.out);
  EXPECT_EQ(summary["done"], 1);
  EXPECT_EQ(summary["freed"], before.looseBytes);

  const auto after = objectStats(git, bloated);
  EXPECT_LT(after.looseCount, before.looseCount);
  EXPECT_LT(after.looseBytes, 50'000'000);
  EXPECT_EQ(git.run(bloated, {"log", "--format=%s"}), "Change README.md\n");  // history intact
  EXPECT_EQ(objectStats(git, busy).looseCount, 12 + 3);                       // not touched

  const auto relisted = nlohmann::json::parse(runTidewarden({"git", "--json"}).out);
  ASSERT_EQ(relisted["groups"].size(), 1u);
  EXPECT_EQ(relisted["groups"][0]["items"].size(), 1u);
}

TEST(GitCommand, TidyOrMissingRepositoriesGiveANote) {
  FakeHome home;
  GitSandbox git;
  home.file("code/app/package.json", 10);
  EXPECT_EQ(nlohmann::json::parse(runTidewarden({"git", "--json"}).out)["note"],
            "No git repositories found in your project folders.");

  git.initRepository(home / "code/one");
  git.initRepository(home / "code/two");
  home.fileWithContents("code/three/.git", "gitdir: /nowhere\n");
  const auto output = nlohmann::json::parse(runTidewarden({"git", "--json"}).out);
  EXPECT_THAT(output["groups"], IsEmpty());
  EXPECT_EQ(output["note"], "None of your 3 repositories need a cleanup.");
}

}  // namespace tw::test
