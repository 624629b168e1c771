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

TEST(GitCommand, OffersBloatedRepositoriesAndGcShrinksThemUntilNoneNeedsACleanup) {
  FakeHome home;
  GitSandbox git;
  const std::string bloated = home / "code/bloated repo";
  git.initRepository(bloated);
  git.initRepository(home / "code/tidy");
  home.fileWithContents("code/linked/.git", "gitdir: /nowhere\n");  // counts as a repository too
  addLooseBlobs(git, bloated, 42, home / "scratch");                // ~210 MB: above the pre-selection line
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
  ASSERT_EQ(group["items"].size(), 1u);
  const auto& item = group["items"][0];
  EXPECT_EQ(item["id"], bloated);
  EXPECT_EQ(item["name"], "bloated repo");
  EXPECT_EQ(item["freeable"], before.looseBytes);
  EXPECT_GE(item["size"].get<std::int64_t>(), before.looseBytes);
  EXPECT_EQ(item["badges"], nlohmann::json({byteFormatter(before.looseBytes) + " loose"}));
  EXPECT_TRUE(item["selected"]);
  EXPECT_EQ(item["warning"], "bloated repo: unreachable objects are deleted right away");

  const auto cleaned = runTidewarden({"git", "clean", "--selected", "--yes", "--json"});
  ASSERT_EQ(cleaned.code, 0) << cleaned.out << cleaned.err;
  const auto summary = nlohmann::json::parse(cleaned.out);
  EXPECT_EQ(summary["done"], 1);
  EXPECT_EQ(summary["freed"], before.looseBytes);
  const auto after = objectStats(git, bloated);
  EXPECT_LT(after.looseCount, before.looseCount);
  EXPECT_LT(after.looseBytes, 50'000'000);
  EXPECT_EQ(git.run(bloated, {"log", "--format=%s"}), "Change README.md\n");  // history intact

  const auto relisted = nlohmann::json::parse(runTidewarden({"git", "--json"}).out);
  EXPECT_THAT(relisted["groups"], IsEmpty());
  EXPECT_EQ(relisted["note"], "None of your 3 repositories need a cleanup.");
}

TEST(GitCommand, WithoutRepositoriesANoteSaysSo) {
  FakeHome home;
  home.file("code/app/package.json", 10);
  const auto output = nlohmann::json::parse(runTidewarden({"git", "--json"}).out);
  EXPECT_THAT(output["groups"], IsEmpty());
  EXPECT_EQ(output["note"], "No git repositories found in your project folders.");
}

}  // namespace tw::test
