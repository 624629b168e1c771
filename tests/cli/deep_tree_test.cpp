#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <string>

#include "fs/unique_fd.h"
#include "support/fake_home.h"

// Trees and files shaped to hurt: far deeper than a path can be written, and files that
// are not what they look like. Every command prints or refuses cleanly and promptly.
namespace tw::test {
namespace {

constexpr int levels = 20'000;

// `levels` folders "d" inside each other, each beside an empty folder "a", with a 2 MB file
// at the bottom; built relative to descriptors, as no path could name the bottom.
void buildDeepTree(const std::string& top) {
  UniqueFd folder{::open(top.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)};
  ASSERT_TRUE(folder);
  for (int level = 0; level < levels; ++level) {
    ASSERT_EQ(::mkdirat(folder.get(), "a", 0755), 0);
    ASSERT_EQ(::mkdirat(folder.get(), "d", 0755), 0);
    folder = UniqueFd{::openat(folder.get(), "d", O_RDONLY | O_DIRECTORY | O_CLOEXEC)};
    ASSERT_TRUE(folder);
  }
  UniqueFd file{::openat(folder.get(), "weights.bin", O_WRONLY | O_CREAT | O_CLOEXEC, 0644)};
  ASSERT_TRUE(file);
  const std::string block(2 * 1024 * 1024, 'w');
  ASSERT_EQ(::write(file.get(), block.data(), block.size()), static_cast<ssize_t>(block.size()));
}

// Removes the tree with a tool that walks it by descriptors, before the home folder's own
// clean-up (which goes by path) meets it.
struct DeepTreeRemover {
  std::string top;
  ~DeepTreeRemover() { (void)runProcess({"rm", "-rf", "--", top}); }
};

int nestingOf(const nlohmann::json& node) {
  int depth = 0;
  for (const nlohmann::json* at = &node; at->contains("children") && !(*at)["children"].empty();
       at = &(*at)["children"][0]) {
    ++depth;
  }
  return depth;
}

TEST(DeepTree, ScanCountsATwentyThousandLevelTreeAndItsJsonNestsAsDeepAsAskedWithinTheBound) {
  FakeHome home;
  home.file("deep/.keep", 1);
  const DeepTreeRemover remover{home / "deep"};
  buildDeepTree(home / "deep");

  const auto shallow = runTidewardenWithin(60, {"scan", home / "deep", "--json"});
  ASSERT_EQ(shallow.code, 0) << shallow.err;
  const auto tree = nlohmann::json::parse(shallow.out);
  EXPECT_EQ(tree["items"], 2 * levels + 2);  // every "a" and "d", the file and .keep
  EXPECT_EQ(tree["size"].get<std::int64_t>(), 2 * 1024 * 1024 + 4096);

  const auto deepest = runTidewardenWithin(60, {"scan", home / "deep", "--json", "--depth", "1000"});
  ASSERT_EQ(deepest.code, 0) << deepest.err;
  EXPECT_EQ(nestingOf(nlohmann::json::parse(deepest.out)), 1000);

  const auto beyond = runTidewardenWithin(60, {"scan", home / "deep", "--json", "--depth", "30000"});
  EXPECT_EQ(beyond.code, 2) << beyond.out.substr(0, 200);
  EXPECT_EQ(beyond.out, "");
  EXPECT_NE(beyond.err.find("--depth expects a number from 0 to 1000, got '30000'"), std::string::npos) << beyond.err;

  const auto text = runTidewardenWithin(60, {"scan", home / "deep"});
  EXPECT_EQ(text.code, 0) << text.err;
  EXPECT_NE(text.out.find("2.1 MB  d/"), std::string::npos) << text.out;
}

TEST(PlantedFiles, AGitFileThatIsAFifoOrAHugeSparseFileLeavesItsProjectListedAtOnce) {
  FakeHome home;
  home.file("code/piped/package.json", 20);
  home.file("code/piped/node_modules/dep/index.js", 4000);
  home.file("code/sparse/package.json", 20);
  home.file("code/sparse/node_modules/dep/index.js", 4000);
  ASSERT_EQ(::mkfifo((home / "code/piped/.git").c_str(), 0600), 0);
  {
    UniqueFd file{::open((home / "code/sparse/.git").c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0644)};
    ASSERT_TRUE(file);
    ASSERT_EQ(::ftruncate(file.get(), 3LL << 30), 0);  // 3 GB that never was written
  }
  for (const std::string screen : {"projects", "git", "worktrees"}) {
    const auto run = runTidewardenWithin(60, {screen, "--json"});
    EXPECT_EQ(run.code, 0) << screen << ": " << run.err;
    EXPECT_TRUE(nlohmann::json::accept(run.out)) << screen;
    if (screen == "projects") {
      EXPECT_NE(run.out.find(home / "code/piped"), std::string::npos);
      EXPECT_NE(run.out.find(home / "code/sparse"), std::string::npos);
    }
  }
}

}  // namespace
}  // namespace tw::test
