#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include <nlohmann/json.hpp>

#include "core/file_flags.h"
#include "core/unique_fd.h"
#include "dedupe/dedupe.h"
#include "dedupe/dedupe_walk.h"
#include "dedupe_fixtures.h"
#include "support/fake_home.h"
#include "support/loop_volume.h"

namespace tw::test {
namespace {

using Paths = std::vector<std::string>;

std::int64_t allocated(const std::string& path) {
  struct stat info {};
  ::lstat(path.c_str(), &info);
  return static_cast<std::int64_t>(info.st_blocks) * 512;
}

TEST(DuplicateFinder, IdenticalFilesFormASetOnlyFromThirtyTwoKilobytesOnDisk) {
  FakeHome home;
  const std::string data = randomBytes(40'000, 1);
  const auto a = put(home / "p/a.bin", data);
  const auto b = put(home / "p/sub/b.bin", data);
  const std::string small = randomBytes(20'000, 2);
  put(home / "p/small-1", small);
  put(home / "p/sub/small-2", small);

  const auto sets = Dedupe::scan({home / "p"});

  ASSERT_EQ(sets.size(), 1u);
  EXPECT_EQ(sets[0].paths, (Paths{a, b}));
  EXPECT_EQ(sets[0].length, 40'000);
  EXPECT_EQ(sets[0].alloc, allocated(a));
  EXPECT_EQ(sets[0].freeable(), allocated(a));
}

TEST(DuplicateFinder, HardLinkedFilesAreNeverOffered) {
  FakeHome home;
  const std::string data = randomBytes(50'000, 3);
  const auto linked = put(home / "p/linked.bin", data);
  ASSERT_EQ(::link(linked.c_str(), (home / "p/other-name.bin").c_str()), 0);
  put(home / "p/copy.bin", data);

  EXPECT_TRUE(Dedupe::scan({home / "p"}).empty());
}

TEST(DuplicateFinder, LeavesOutRepositoriesTrashPackagesLibraryDatabasesAndCloneTemporaries) {
  FakeHome home;
  const std::string data = randomBytes(64'000, 4);
  for (const char* hidden :
       {"Library/cache.bin", "p/.git/objects/pack.bin", "p/.Trash/old.bin", "p/Photos.photoslibrary/master.bin",
        "p/Tool.app/Contents/tool.bin", "p/Kit.FRAMEWORK/kit.bin", "p/data.sqlite", "p/data-copy.sqlite",
        "p/events.log", "p/.tidewarden-clone-1F2E3D4C"}) {
    put(home / hidden, data);
  }
  const auto nestedLibrary = put(home / "p/Library/asset.bin", data);
  const auto kept = put(home / "p/kept.bin", data);
  const auto visible = put(home / "p/visible.bin", data);

  const auto sets = Dedupe::scan({home.path()});

  ASSERT_EQ(sets.size(), 1u);
  // Only "Library" right in the home folder is the system's; elsewhere it is a name.
  EXPECT_EQ(sets[0].paths, (Paths{nestedLibrary, kept, visible}));
}

TEST(DuplicateFinder, FilesThatAgreeOnlyInTheirFirst64KiBAreNotASet) {
  FakeHome home;
  const std::string base = randomBytes(200'000, 5);
  std::string lastByte = base;
  lastByte.back() ^= 1;
  std::string justPastPrefix = base;
  justPastPrefix[65'536] ^= 1;
  put(home / "p/base.bin", base);
  put(home / "p/last-byte.bin", lastByte);
  put(home / "p/past-prefix.bin", justPastPrefix);
  // Longer than one read buffer: the difference sits right behind the first megabyte.
  const std::string large = randomBytes((1 << 20) + 4'000, 6);
  std::string largeChanged = large;
  largeChanged[1 << 20] ^= 0x80;
  put(home / "p/large.bin", large);
  put(home / "p/large-changed.bin", largeChanged);
  const std::string same = randomBytes((3 << 20) + 5, 17);
  const auto same1 = put(home / "p/same-1.bin", same);
  const auto same2 = put(home / "p/same-2.bin", same);

  const auto sets = Dedupe::scan({home / "p"});

  ASSERT_EQ(sets.size(), 1u);
  EXPECT_EQ(sets[0].paths, (Paths{same1, same2}));
}

TEST(DuplicateFinder, OneFileReachedThroughTwoRootsALinkOrDotIsNeverASetWithItself) {
  FakeHome home;
  put(home / "p/sub/only.bin", randomBytes(100'000, 7));
  std::filesystem::create_directory_symlink(home / "p", home / "link-to-p");
  const Paths roots{home / "p",     home / "p/.",           home / "p/sub/..", home / "link-to-p",
                    home / "p/sub", home / "link-to-p/sub", home / "p//sub/./"};

  EXPECT_TRUE(Dedupe::scan(roots).empty());

  const std::string data = randomBytes(100'000, 8);
  const auto first = put(home / "p/one.bin", data);
  const auto second = put(home / "p/sub/two.bin", data);
  const auto sets = Dedupe::scan(roots);
  ASSERT_EQ(sets.size(), 1u);
  EXPECT_EQ(sets[0].paths, (Paths{first, second}));
  // Only the link given as a root: the set names the files by their real paths.
  EXPECT_EQ(pathSets(Dedupe::scan({home / "link-to-p"})), (std::set<Paths>{{first, second}}));
}

TEST(DuplicateFinder, RootsInsideOtherRootsRepeatedOrMissingAreDropped) {
  FakeHome home;
  makeFolders(home / "p/sub");
  std::filesystem::create_directory_symlink(home / "p", home / "link-to-p");
  put(home / "a-file", "not a folder");

  const auto roots = dedupe::walkRoots(
      {home / "p/sub", home / "link-to-p", home / "p/", home / "a-file", home / "gone", "", home / "p/sub/../sub"});
  ASSERT_EQ(roots.size(), 1u);
  EXPECT_EQ(roots[0].path, home / "p");
  const auto everything = dedupe::walkRoots({home / "p", "/", home.path()});
  ASSERT_EQ(everything.size(), 1u);
  EXPECT_EQ(everything[0].path, "/");
}

TEST(DuplicateFinder, AFolderMountedTwiceInsideTheRootIsWalkedOnce) {
  FakeHome home;
  put(home / "p/a/only.bin", randomBytes(100'000, 9));
  makeFolders(home / "p/b/mirror");
  if (::geteuid() != 0) GTEST_SKIP() << "bind mounts need root";
  ASSERT_EQ(runProcess({"mount", "--bind", home / "p/a", home / "p/b/mirror"}).code, 0);
  struct Unmount {
    std::string path;
    ~Unmount() { (void)runProcess({"umount", path}); }
  } unmount{home / "p/b/mirror"};

  EXPECT_TRUE(Dedupe::scan({home / "p"}).empty());
}

TEST(DuplicateFinder, NeverCrossesIntoAnotherVolume) {
  FakeHome home;
  std::string whyNot;
  const auto inside = LoopVolume::mount(LoopVolume::Kind::tmpfs, 8 << 20, whyNot, home / "p/mounted");
  if (!inside) GTEST_SKIP() << whyNot;
  const std::string data = randomBytes(100'000, 10);
  put(home / "p/here.bin", data);
  put(inside->path() + "/there.bin", data);

  EXPECT_TRUE(Dedupe::scan({home / "p"}).empty());
  // Given as a root of its own the other volume is walked, but its files still never pair
  // with files elsewhere.
  put(home / "elsewhere.bin", data);
  EXPECT_TRUE(Dedupe::scan({inside->path(), home / "elsewhere.bin", home / "p/here.bin"}).empty());
  const auto secondHome = makeTempFolder();
  put(secondHome + "/here-too.bin", data);
  EXPECT_TRUE(Dedupe::scan({inside->path(), secondHome}).empty());
  const auto again = put(inside->path() + "/there-again.bin", data);
  EXPECT_EQ(pathSets(Dedupe::scan({inside->path(), secondHome})),
            (std::set<Paths>{{again, inside->path() + "/there.bin"}}));
  removeTree(secondHome);
}

TEST(DuplicateFinder, ListsTheLargestSavingsFirst) {
  FakeHome home;
  const std::string pair = randomBytes(100'000, 11);
  const std::string four = randomBytes(40'000, 12);
  const std::string big = randomBytes(300'000, 13);
  put(home / "p/pair-1", pair);
  put(home / "p/pair-2", pair);
  for (int i = 0; i < 4; ++i) put(home / ("p/four-" + std::to_string(i)), four);
  put(home / "p/big-1", big);
  put(home / "p/big-2", big);

  const auto sets = Dedupe::scan({home / "p"});

  ASSERT_EQ(sets.size(), 3u);
  EXPECT_EQ(sets[0].length, 300'000);
  EXPECT_EQ(sets[1].length, 40'000);
  EXPECT_EQ(sets[1].paths.size(), 4u);
  EXPECT_EQ(sets[1].freeable(), 3 * allocated(home / "p/four-0"));
  EXPECT_EQ(sets[2].length, 100'000);
}

TEST(DuplicateFinder, ImmutableAndAppendOnlyFilesAreNeverOffered) {
  FakeHome home;
  const std::string data = randomBytes(80'000, 14);
  const auto a = put(home / "p/a.bin", data);
  const auto locked = put(home / "p/locked.bin", data);
  const auto appendOnly = put(home / "p/append-only.bin", data);
  const auto c = put(home / "p/c.bin", data);
  if (runProcess({"chattr", "+i", locked}).code != 0 || runProcess({"chattr", "+a", appendOnly}).code != 0) {
    GTEST_SKIP() << "this file system or user cannot set the immutable flag";
  }
  struct Unlock {
    std::vector<std::string> paths;
    ~Unlock() {
      for (const auto& path : paths) (void)clearProtectionFlags(path);
    }
  } unlock{{locked, appendOnly}};

  EXPECT_EQ(pathSets(Dedupe::scan({home / "p"})), (std::set<Paths>{{a, c}}));
}

TEST(DuplicateFinder, LinksEmptyFilesAndMissingRootsGiveNothing) {
  FakeHome home;
  const auto target = put(home / "p/target.bin", randomBytes(90'000, 15));
  std::filesystem::create_symlink(target, home / "p/link.bin");
  put(home / "p/empty-1", "");
  put(home / "p/empty-2", "");

  EXPECT_TRUE(Dedupe::scan({home / "p", home / "missing", target, ""}).empty());
  EXPECT_TRUE(Dedupe::scan({}).empty());
}

TEST(DuplicateFinder, FindsCopiesDeepDownAndUnderNamesThatAreNotUTF8) {
  FakeHome home;
  const std::string data = randomBytes(70'000, 16);
  std::string deep = home / "p";
  for (int level = 0; level < 200; ++level) deep += "/d";
  const auto bottom = put(deep + "/bottom.bin", data);
  const auto odd = put(home / "p/caf\xe9-\xff.bin", data);

  const auto sets = Dedupe::scan({home / "p"});

  ASSERT_EQ(sets.size(), 1u);
  EXPECT_EQ(sets[0].paths, (Paths{odd, bottom}));

  setProjectRoots({home / "p"});
  const auto listed = runTidewarden({"dedupe", "--json"});
  ASSERT_EQ(listed.code, 0) << listed.err;
  const auto json = nlohmann::json::parse(listed.out);  // throws on anything but valid UTF-8 JSON
  ASSERT_EQ(json["groups"].size(), 1u);
  EXPECT_EQ(json["groups"][0]["items"].size(), 1u);
}

std::int64_t bytesInMemory(const std::string& path) {
  const auto result = runProcess({"fincore", "--bytes", "--noheadings", "--output", "RES", path});
  return result.code == 0 ? std::stoll(result.out) : -1;
}

void evictFromMemory(const std::string& path) {
  const UniqueFd fd{::open(path.c_str(), O_RDONLY | O_CLOEXEC)};
  ASSERT_TRUE(fd);
  ASSERT_EQ(::fdatasync(fd.get()), 0);
  ASSERT_EQ(::posix_fadvise(fd.get(), 0, 0, POSIX_FADV_DONTNEED), 0);
}

TEST(DuplicateFinder, HashingLeavesLargeFilesOutOfMemoryUnlessTheyWereInUse) {
  FakeHome home;
  if (runProcess({"sh", "-c", "command -v fincore"}).code != 0) GTEST_SKIP() << "fincore is not installed";
  const std::string data = randomBytes(8 << 20, 18);
  const auto cold1 = put(home / "p/cold-1.bin", data);
  const auto cold2 = put(home / "p/cold-2.bin", data);
  const auto warm = put(home / "p/warm.bin", data);
  evictFromMemory(cold1);
  evictFromMemory(cold2);
  ASSERT_EQ(readFile(warm), data);  // someone is using this one
  ASSERT_EQ(bytesInMemory(cold1), 0) << "this file system keeps pages it was asked to drop";

  EXPECT_EQ(pathSets(Dedupe::scan({home / "p"})), (std::set<Paths>{{cold1, cold2, warm}}));

  // Only the first 64 KiB that every candidate gets hashed by stay behind.
  EXPECT_LE(bytesInMemory(cold1), 65'536);
  EXPECT_LE(bytesInMemory(cold2), 65'536);
  EXPECT_EQ(bytesInMemory(warm), 8 << 20);
}

}  // namespace
}  // namespace tw::test
