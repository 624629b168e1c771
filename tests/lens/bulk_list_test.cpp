#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <map>

#include "lens/disk_scanner.h"
#include "lens/lens_fixtures.h"
#include "support/fake_home.h"

namespace tw::test {
namespace {

// A folder's listing by name; empty when it cannot be listed.
std::map<std::string, DiskScanner::Entry> listByName(const std::string& folder) {
  std::map<std::string, DiskScanner::Entry> named;
  if (const auto entries = DiskScanner::list(folder)) {
    for (const auto& entry : *entries) named[entry.name] = entry;
  }
  return named;
}

TEST(BulkListing, ReportsEveryEntryWithWhatLstatSays) {
  FakeHome home;
  const std::string folder = home.folder("listed"), odd = "caf\xe9-\xff";
  home.file("listed/small", 100);
  home.file("listed/large", 3 * kMiB);
  home.file("listed/" + odd, 10);
  home.folder("listed/sub");
  ASSERT_EQ(::symlink("/usr", (folder + "/to-usr").c_str()), 0);
  ASSERT_EQ(::link((folder + "/large").c_str(), (folder + "/large-again").c_str()), 0);
  ASSERT_EQ(::mkfifo((folder + "/pipe").c_str(), 0600), 0);

  ASSERT_EQ(DiskScanner::list(folder)->size(), 7u) << "no entry listed twice, '.' and '..' left out";
  const auto named = listByName(folder);
  for (const std::string name : {"small", "large", "large-again", "to-usr", "pipe", "sub", odd.c_str()}) {
    struct stat info {};
    ASSERT_EQ(::lstat((folder + "/" + name).c_str(), &info), 0) << name;
    ASSERT_TRUE(named.contains(name)) << name << ": names are kept as their bytes";
    const auto& entry = named.at(name);
    EXPECT_EQ(entry.isDir, name == "sub") << name;
    EXPECT_EQ(entry.size, entry.isDir ? 0 : static_cast<std::int64_t>(info.st_blocks) * 512) << name;
    EXPECT_EQ(entry.fileID, info.st_ino) << name;
    if (entry.isDir) continue;
    EXPECT_EQ(entry.links, info.st_nlink) << name;
    EXPECT_EQ(entry.privateSize, entry.size) << name << ": ext4 shares no blocks between files";
  }
  EXPECT_GE(named.at("large").size, 3 * kMiB);
  EXPECT_EQ(named.at("large").links, 2u);

  // Only real folders are listed: never through a link, never a file or a missing path.
  for (const char* refused : {"/to-usr", "/small", "/missing"}) EXPECT_FALSE(DiskScanner::list(folder + refused));
  EXPECT_TRUE(DiskScanner::list(folder + "/sub")->empty());
}

TEST(BulkListing, ListsFoldersWithThousandsOfEntries) {
  FakeHome home;
  const std::string folder = home.folder("many");
  for (int i = 0; i < 5000; ++i) writeFile(folder + "/entry-with-a-longish-name-" + std::to_string(i), "");
  EXPECT_EQ(listByName(folder).size(), 5000u) << "several listing buffers' worth, each entry once";
}

TEST(BulkListing, ReflinkCopiesAreCountedButTheirSharedBlocksAreNotFreeable) {
  FakeHome home;
  ScratchVolume volume("xfs");
  if (!volume.ready()) GTEST_SKIP() << volume.reason();
  const std::string data = volume.path() + "/data";
  writeFilledFile(data + "/original", 4 * kMiB, 'o');
  ASSERT_EQ(runProcess({"cp", "--reflink=always", data + "/original", data + "/clone"}).code, 0);
  writeFilledFile(data + "/alone", 2 * kMiB, 'a');
  writeFilledFile(data + "/tiny", 8 * 1024, 't');
  ASSERT_EQ(runProcess({"sync"}).code, 0);

  const auto named = listByName(data);
  EXPECT_GE(named.at("original").size, 4 * kMiB);
  EXPECT_EQ(named.at("original").privateSize, 0) << "every block is shared with the clone";
  EXPECT_EQ(named.at("clone").privateSize, 0);
  EXPECT_EQ(named.at("alone").privateSize, named.at("alone").size);
  EXPECT_EQ(named.at("tiny").privateSize, named.at("tiny").size);

  const auto tree = DiskScanner().scan(data);
  EXPECT_EQ(tree->size, 10 * kMiB + named.at("tiny").size);
  EXPECT_EQ(tree->freeable, 2 * kMiB + named.at("tiny").size) << "neither the original nor the clone is freeable";

  // Writing into the clone gives it blocks of its own.
  ASSERT_EQ(runProcess({"dd", "if=/dev/zero", "of=" + data + "/clone", "bs=1M", "count=1", "conv=notrunc"}).code, 0);
  ASSERT_EQ(runProcess({"sync"}).code, 0);
  const auto after = listByName(data);
  EXPECT_EQ(after.at("clone").privateSize, kMiB);
  EXPECT_EQ(after.at("original").privateSize, kMiB) << "the original's first MiB is no longer shared";
}

}  // namespace
}  // namespace tw::test
