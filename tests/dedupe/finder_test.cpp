#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <random>

#include <nlohmann/json.hpp>

#include "core/text.h"
#include "dedupe/dedupe.h"
#include "dedupe/dedupe_walk.h"
#include "dedupe_fixtures.h"
#include "fs/file_flags.h"
#include "fs/path.h"
#include "fs/unique_fd.h"
#include "support/fake_home.h"
#include "support/loop_volume.h"
#include "support/programs.h"

namespace tw::test {
namespace {

using Paths = std::vector<std::string>;

std::int64_t allocated(const std::string& path) {
  struct stat info {};
  ::lstat(path.c_str(), &info);
  return static_cast<std::int64_t>(info.st_blocks) * 512;
}

TEST(DuplicateFinder, OffersSingleLinkCopiesOf32KiBOnDiskOrMoreLargestSavingsFirst) {
  FakeHome home;
  const std::string p = home / "p";
  const auto big = copies(randomBytes(300'000, 13), {p + "/big-1", p + "/big-2"});
  const auto four = copies(randomBytes(40'000, 12), {p + "/four-0", p + "/four-1", p + "/four-3", p + "/sub/four-2"});
  const auto pair = copies(randomBytes(100'000, 11), {p + "/pair-1", p + "/pair-2"});
  // Hard links, links and empty files among the copies are the cross-check's to catch.
  copies(randomBytes(20'000, 2), {p + "/small-1", p + "/sub/small-2"});

  const auto sets = Dedupe::scan({p, home / "missing", big[0], ""}, home.path());

  ASSERT_EQ(sets.size(), 3u);
  EXPECT_EQ(sets[0].paths, big);
  EXPECT_EQ(sets[0].length, 300'000);
  EXPECT_EQ(sets[0].alloc, allocated(big[0]));
  EXPECT_EQ(sets[1].paths, four);
  EXPECT_EQ(sets[1].freeable(), 3 * allocated(four[0]));
  EXPECT_EQ(sets[2].paths, pair);
  EXPECT_TRUE(Dedupe::scan({}, home.path()).empty());
}

TEST(DuplicateFinder, SkipsRepositoriesTrashPackagesLibraryMutableFilesAndCloneTemporariesButNotDeepOrOddNames) {
  FakeHome home;
  const std::string data = randomBytes(64'000, 4);
  for (const char* hidden :
       {"Library/cache.bin", "p/.git/objects/pack.bin", "p/.Trash/old.bin", "p/Photos.photoslibrary/master.bin",
        "p/Tool.app/Contents/tool.bin", "p/Kit.FRAMEWORK/kit.bin", "p/data.sqlite", "p/data-copy.sqlite",
        "p/events.log", "p/.tidewarden-clone-1F2E3D4C"}) {
    put(home / hidden, data);
  }
  // Only "Library" right in the home folder is the system's; elsewhere it is a name.
  const auto visible = copies(data, {home / "p/Library/asset.bin", home / "p/kept.bin", home / "p/visible.bin"});
  std::string deep = home / "p";
  for (int level = 0; level < 200; ++level) deep += "/d";
  const auto odd = copies(randomBytes(70'000, 16), {home / "p/caf\xe9-\xff.bin", deep + "/bottom.bin"});

  EXPECT_EQ(pathSets(Dedupe::scan({home.path()}, home.path())), (std::set<Paths>{visible, odd}));
  setProjectRoots(home, {home.path()});
  const auto listed = runTidewarden({"dedupe", "--json"});
  ASSERT_EQ(listed.code, 0) << listed.err;
  EXPECT_EQ(nlohmann::json::parse(listed.out)["groups"].size(), 2u);  // parsing throws on invalid UTF-8
}

TEST(DuplicateFinder, NothingInATrashOfEitherLayoutIsOffered) {
  FakeHome home;
  if (!isInstalled("trash-put")) GTEST_SKIP() << "trash-put (trash-cli) is not installed";
  const std::string data = randomBytes(64'000, 21);
  const auto live = copies(data, {home / "p/a.bin", home / "p/b.bin"});
  // The home Trash where the XDG default puts it, and where a user's own data folder does.
  put(home / "p/old.bin", data);
  ASSERT_EQ(runProcess({"trash-put", home / "p/old.bin"}).code, 0);
  put(home / "p/older.bin", data);
  ASSERT_EQ(runProcess({"trash-put", home / "p/older.bin"}, {{"XDG_DATA_HOME", home / "data"}}).code, 0);
  ASSERT_TRUE(exists(home / ".local/share/Trash/files/old.bin") && exists(home / "data/Trash/files/older.bin"));
  // A volume's Trash of either freedesktop form.
  put(home / "p/.Trash-1000/files/c.bin", data);
  put(home / "p/.Trash/1000/files/d.bin", data);
  // A folder that only shares the name is searched.
  const auto named = copies(randomBytes(70'000, 22), {home / "p/Trash/e.bin", home / "p/Trash/files/f.bin"});

  EXPECT_EQ(pathSets(Dedupe::scan({home.path()}, home.path())), (std::set<Paths>{live, named}));
}

TEST(DuplicateFinder, FilesThatAgreeOnlyInTheirFirst64KiBAreNotASet) {
  FakeHome home;
  const std::string base = put(home / "p/base.bin", randomBytes(200'000, 5));
  // Longer than one read buffer: one of them differs right behind the first megabyte.
  const std::string large = put(home / "p/large.bin", randomBytes((1 << 20) + 4'000, 6));
  const std::vector<std::pair<std::string, std::size_t>> changes{{base, 199'999}, {base, 65'536}, {large, 1 << 20}};
  for (std::size_t index = 0; index < changes.size(); ++index) {
    std::string bytes = readFile(changes[index].first);
    bytes[changes[index].second] ^= 1;
    put(home / ("p/changed-" + std::to_string(index)), bytes);
  }
  const auto same = copies(randomBytes((3 << 20) + 5, 17), {home / "p/same-1.bin", home / "p/same-2.bin"});

  EXPECT_EQ(pathSets(Dedupe::scan({home / "p"}, home.path())), (std::set<Paths>{same}));
}

TEST(DuplicateFinder, OneFileReachedThroughTwoRootsALinkOrDotIsNeverASetWithItself) {
  FakeHome home;
  put(home / "p/sub/only.bin", randomBytes(100'000, 7));
  std::filesystem::create_directory_symlink(home / "p", home / "link-to-p");
  const Paths roots{home / "p",     home / "p/.",           home / "p/sub/..", home / "link-to-p",
                    home / "p/sub", home / "link-to-p/sub", home / "p//sub/./"};
  EXPECT_TRUE(Dedupe::scan(roots, home.path()).empty());

  const auto pair = copies(randomBytes(100'000, 8), {home / "p/one.bin", home / "p/sub/two.bin"});
  EXPECT_EQ(pathSets(Dedupe::scan(roots, home.path())), (std::set<Paths>{pair}));
  // Only the link given as a root: the set names the files by their real paths.
  EXPECT_EQ(pathSets(Dedupe::scan({home / "link-to-p"}, home.path())), (std::set<Paths>{pair}));

  // Roots inside other roots, repeated, missing or not folders are dropped before the walk.
  put(home / "a-file", "not a folder");
  const auto walked = dedupe::walkRoots(
      {home / "p/sub", home / "link-to-p", home / "p/", home / "a-file", home / "gone", "", home / "p/sub/../sub"});
  ASSERT_EQ(walked.size(), 1u);
  EXPECT_EQ(walked[0].path, home / "p");
  const auto everything = dedupe::walkRoots({home / "p", "/", home.path()});
  ASSERT_EQ(everything.size(), 1u);
  EXPECT_EQ(everything[0].path, "/");
}

TEST(DuplicateFinder, NeverPairsFilesOnDifferentVolumesNorAFolderMountedTwiceWithItself) {
  FakeHome home;
  std::string whyNot;
  const auto inside = LoopVolume::mount(LoopVolume::Kind::tmpfs, 8 << 20, whyNot, home / "p/mounted");
  if (!inside) GTEST_SKIP() << whyNot;
  const std::string data = randomBytes(100'000, 10);
  const auto there = put(inside->path() + "/there.bin", data);
  put(home / "p/a/here.bin", data);
  put(home / "elsewhere.bin", data);
  const auto secondHome = makeTempFolder();
  put(secondHome + "/here-too.bin", data);

  EXPECT_TRUE(Dedupe::scan({home / "p"}, home.path()).empty());
  // Given as a root of its own the other volume is walked, but its files never pair with
  // files elsewhere.
  EXPECT_TRUE(Dedupe::scan({inside->path(), home / "elsewhere.bin", home / "p/a/here.bin"}, home.path()).empty());
  EXPECT_TRUE(Dedupe::scan({inside->path(), secondHome}, home.path()).empty());
  const auto again = put(inside->path() + "/there-again.bin", data);
  EXPECT_EQ(pathSets(Dedupe::scan({inside->path(), secondHome}, home.path())), (std::set<Paths>{{again, there}}));
  removeTree(secondHome);

  // A bind mount shows the same files a second time, on the same volume.
  makeFolders(home / "p/b/mirror");
  ASSERT_EQ(runProcess({"mount", "--bind", home / "p/a", home / "p/b/mirror"}).code, 0);
  struct Unmount {
    std::string path;
    ~Unmount() { (void)runProcess({"umount", path}); }
  } unmount{home / "p/b/mirror"};
  EXPECT_TRUE(Dedupe::scan({home / "p"}, home.path()).empty());
}

TEST(DuplicateFinder, ImmutableAndAppendOnlyFilesAreNeverOffered) {
  FakeHome home;
  const auto files = copies(randomBytes(80'000, 14),
                            {home / "p/a.bin", home / "p/append-only.bin", home / "p/c.bin", home / "p/locked.bin"});
  if (runProcess({"chattr", "+a", files[1]}).code != 0 || runProcess({"chattr", "+i", files[3]}).code != 0) {
    GTEST_SKIP() << "this file system or user cannot set the immutable flag";
  }
  struct Unlock {
    Paths paths;
    ~Unlock() {
      for (const auto& path : paths) (void)clearProtectionFlags(path);
    }
  } unlock{{files[1], files[3]}};

  EXPECT_EQ(pathSets(Dedupe::scan({home / "p"}, home.path())), (std::set<Paths>{{files[0], files[2]}}));
}

std::int64_t bytesInMemory(const std::string& path) {
  const auto result = runProcess({"fincore", "--bytes", "--noheadings", "--output", "RES", path});
  return result.code == 0 ? std::stoll(result.out) : -1;
}

TEST(DuplicateFinder, HashingLeavesLargeFilesOutOfMemoryUnlessTheyWereInUse) {
  if (runProcess({"sh", "-c", "command -v fincore"}).code != 0) GTEST_SKIP() << "fincore is not installed";
  FakeHome home;
  const auto files =
      copies(randomBytes(8 << 20, 18), {home / "p/cold-1.bin", home / "p/cold-2.bin", home / "p/warm.bin"});
  for (const auto& cold : {files[0], files[1]}) {
    const UniqueFd fd{::open(cold.c_str(), O_RDONLY | O_CLOEXEC)};
    ASSERT_TRUE(fd && ::fdatasync(fd.get()) == 0 && ::posix_fadvise(fd.get(), 0, 0, POSIX_FADV_DONTNEED) == 0);
  }
  ASSERT_EQ(readFile(files[2]).size(), 8u << 20);  // someone is using this one
  ASSERT_EQ(bytesInMemory(files[0]), 0) << "this file system keeps pages it was asked to drop";

  EXPECT_EQ(pathSets(Dedupe::scan({home / "p"}, home.path())), (std::set<Paths>{files}));

  // Only the first 64 KiB that every candidate gets hashed by stay behind.
  EXPECT_LE(bytesInMemory(files[0]), 65'536);
  EXPECT_LE(bytesInMemory(files[1]), 65'536);
  EXPECT_EQ(bytesInMemory(files[2]), 8 << 20);
}

// A tree with every kind of near miss: sizes around the 32 KiB limit and the 64 KiB
// prefix, copies that differ only after the prefix or only in their last byte, hard links,
// links, empty files, databases and logs, all at several depths.
void makeMixedTree(const std::string& root, std::uint64_t seed) {
  const std::vector<std::int64_t> sizes{0,      100,    4'096,  20'000, 30'000,  32'767,  32'768,
                                        40'000, 65'535, 65'536, 65'537, 100'000, 300'000, 1'500'000};
  const Paths folders{"", "a", "a/b", "a/b/c", "d", "d/e f", "g/h/i/j/k", "node_modules/x"};
  const Paths extensions{".bin", ".js", ".png", "", ".log", ".sqlite", ".o"};
  std::mt19937_64 random(seed);
  const auto pick = [&](std::size_t bound) { return std::uniform_int_distribution<std::size_t>(0, bound - 1)(random); };
  Paths files;
  const auto place = [&](const std::string& data, const std::string& name) {
    const std::string folder = joinPath(root, folders[pick(folders.size())]);
    files.push_back(put(joinPath(folder, name + extensions[pick(extensions.size())]), data));
  };
  for (std::uint64_t content = 0; content < 120; ++content) {
    const std::int64_t size = sizes[pick(sizes.size())];
    std::string data = randomBytes(size, seed * 1000 + content);
    const std::string name = "c" + std::to_string(content) + "-";
    for (std::size_t copy = 0, count = 1 + pick(5); copy < count; ++copy) place(data, name + std::to_string(copy));
    if (size > 65'536 && pick(3) == 0) {
      std::string later = data;
      later[65'536 + pick(static_cast<std::size_t>(size) - 65'536)] ^= 0x20;
      place(later, name + "90");
      place(later, name + "91");
    }
    if (size > 0 && pick(4) == 0) {
      data.back() ^= 0x01;
      place(data, name + "92");
    }
  }
  for (std::size_t i = 0; i < files.size(); i += 7) ASSERT_EQ(::link(files[i].c_str(), (files[i] + ".hl").c_str()), 0);
  for (std::size_t i = 3; i < files.size(); i += 11) std::filesystem::create_symlink(files[i], files[i] + ".sl");
}

// jdupes' sets, narrowed to what we offer: single-link regular files of at least 32 KiB
// on disk, not databases or logs.
std::set<Paths> peerSets(const std::string& root) {
  const RunResult run = runProcess({"jdupes", "-r", "-q", root});
  EXPECT_EQ(run.code, 0) << run.err;
  std::set<Paths> sets;
  Paths current;
  for (const auto& line : splitLines(run.out + "\n")) {
    struct stat info {};
    if (line.empty()) {
      std::sort(current.begin(), current.end());
      if (current.size() >= 2) sets.insert(current);
      current.clear();
    } else if (::lstat(line.c_str(), &info) == 0 && S_ISREG(info.st_mode) && info.st_nlink == 1 &&
               info.st_blocks * 512 >= 32'768 &&
               !Dedupe::mutableExts().contains(pathExtension(lastPathComponent(line)))) {
      current.push_back(line);
    }
  }
  return sets;
}

TEST(PeerCrossCheck, FindsExactlyTheSetsJdupesFindsUnderTheSameRules) {
  if (runProcess({"sh", "-c", "command -v jdupes"}).code != 0) GTEST_SKIP() << "jdupes is not installed";
  for (const std::uint64_t seed : {1u, 2u, 3u}) {
    FakeHome home;
    makeMixedTree(home / "tree", seed);
    const auto expected = peerSets(home / "tree");
    ASSERT_GT(expected.size(), 10u) << "the tree should hold plenty of sets";
    EXPECT_EQ(pathSets(Dedupe::scan({home / "tree"}, home.path())), expected) << "seed " << seed;
  }
}

}  // namespace
}  // namespace tw::test
