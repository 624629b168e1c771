#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <random>

#include "core/path.h"
#include "core/text.h"
#include "dedupe/dedupe.h"
#include "dedupe_fixtures.h"
#include "support/fake_home.h"

namespace tw::test {
namespace {

using Paths = std::vector<std::string>;

// A tree with every kind of near miss: sizes around the 32 KiB limit and the 64 KiB
// prefix, copies that differ only after the prefix or only in their last byte, hard links,
// links, empty files, databases and logs, all at several depths.
class MixedTree {
 public:
  MixedTree(const std::string& root, std::uint64_t seed) : root_(root), random_(seed) {
    const std::vector<std::int64_t> sizes{0,      100,    4'096,  20'000, 30'000,  32'767,  32'768,
                                          40'000, 65'535, 65'536, 65'537, 100'000, 300'000, 1'500'000};
    for (int content = 0; content < 120; ++content) {
      const std::int64_t size = sizes[pick(sizes.size())];
      const std::string data = randomBytes(size, seed * 1000 + static_cast<std::uint64_t>(content));
      const int copies = 1 + static_cast<int>(pick(5));
      for (int copy = 0; copy < copies; ++copy) place(data, content, copy);
      if (size > 65'536 && pick(3) == 0) {
        std::string later = data;
        later[static_cast<std::size_t>(65'536 + pick(static_cast<std::size_t>(size - 65'536)))] ^= 0x20;
        place(later, content, 90);
        place(later, content, 91);
      }
      if (size > 0 && pick(4) == 0) {
        std::string last = data;
        last.back() ^= 0x01;
        place(last, content, 92);
      }
    }
    addLinks();
  }

 private:
  std::size_t pick(std::size_t bound) { return std::uniform_int_distribution<std::size_t>(0, bound - 1)(random_); }

  void place(const std::string& data, int content, int copy) {
    static const std::vector<std::string> folders{"", "a", "a/b", "a/b/c", "d", "d/e f", "g/h/i/j/k", "node_modules/x"};
    static const std::vector<std::string> extensions{".bin", ".js", ".png", "", ".log", ".sqlite", ".o"};
    const std::string folder = folders[pick(folders.size())];
    const std::string name =
        "c" + std::to_string(content) + "-" + std::to_string(copy) + extensions[pick(extensions.size())];
    files_.push_back(put(joinPath(joinPath(root_, folder), name), data));
  }

  void addLinks() {
    for (std::size_t i = 0; i < files_.size(); i += 7) {
      ASSERT_EQ(::link(files_[i].c_str(), (files_[i] + ".hardlink").c_str()), 0);
    }
    for (std::size_t i = 3; i < files_.size(); i += 11) {
      std::filesystem::create_symlink(files_[i], files_[i] + ".symlink");
    }
  }

  std::string root_;
  std::mt19937_64 random_;
  std::vector<std::string> files_;
};

// jdupes' sets, narrowed to what we offer: single-link regular files of at least 32 KiB
// on disk, not databases or logs.
std::set<Paths> peerSets(const std::string& root) {
  const RunResult run = runProcess({"jdupes", "-r", "-q", root});
  EXPECT_EQ(run.code, 0) << run.err;
  std::set<Paths> sets;
  Paths current;
  const auto finish = [&] {
    std::sort(current.begin(), current.end());
    if (current.size() >= 2) sets.insert(current);
    current.clear();
  };
  for (const auto& line : splitLines(run.out)) {
    if (line.empty()) {
      finish();
      continue;
    }
    struct stat info {};
    if (::lstat(line.c_str(), &info) != 0 || !S_ISREG(info.st_mode) || info.st_nlink != 1) continue;
    if (info.st_blocks * 512 < 32'768) continue;
    if (Dedupe::mutableExts().contains(pathExtension(lastPathComponent(line)))) continue;
    current.push_back(line);
  }
  finish();
  return sets;
}

TEST(PeerCrossCheck, FindsExactlyTheSetsJdupesFindsUnderTheSameRules) {
  if (runProcess({"sh", "-c", "command -v jdupes"}).code != 0) GTEST_SKIP() << "jdupes is not installed";
  for (const std::uint64_t seed : {1u, 2u, 3u}) {
    FakeHome home;
    MixedTree tree(home / "tree", seed);
    const auto expected = peerSets(home / "tree");
    ASSERT_GT(expected.size(), 10u) << "the tree should hold plenty of sets";

    EXPECT_EQ(pathSets(Dedupe::scan({home / "tree"})), expected) << "seed " << seed;
  }
}

}  // namespace
}  // namespace tw::test
