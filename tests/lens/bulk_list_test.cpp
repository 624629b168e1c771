#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <map>

#include "lens/disk_scanner.h"
#include "lens/lens_fixtures.h"
#include "support/fake_home.h"

namespace tw::test {
namespace {

std::map<std::string, DiskScanner::Entry> byName(const std::vector<DiskScanner::Entry>& entries) {
  std::map<std::string, DiskScanner::Entry> named;
  for (const auto& entry : entries) named[entry.name] = entry;
  return named;
}

struct stat lstatOf(const std::string& path) {
  struct stat info {};
  EXPECT_EQ(::lstat(path.c_str(), &info), 0) << path;
  return info;
}

TEST(BulkListing, ReportsEveryEntryWithWhatLstatSays) {
  FakeHome home;
  const std::string folder = home.folder("listed");
  home.file("listed/small", 100);
  home.file("listed/large", 3 * 1024 * 1024);
  home.folder("listed/sub");
  ASSERT_EQ(::symlink("/usr", (folder + "/to-usr").c_str()), 0);
  ASSERT_EQ(::link((folder + "/large").c_str(), (folder + "/large-again").c_str()), 0);
  ASSERT_EQ(::mkfifo((folder + "/pipe").c_str(), 0600), 0);

  const auto entries = DiskScanner::list(folder);
  ASSERT_TRUE(entries.has_value());
  const auto named = byName(*entries);
  ASSERT_EQ(named.size(), 6u);
  EXPECT_EQ(entries->size(), 6u) << "no entry listed twice, '.' and '..' left out";

  for (const auto& name : {"small", "large", "large-again", "to-usr", "pipe"}) {
    const auto info = lstatOf(folder + "/" + name);
    const auto& entry = named.at(name);
    EXPECT_FALSE(entry.isDir) << name;
    EXPECT_EQ(entry.size, static_cast<std::int64_t>(info.st_blocks) * 512) << name;
    EXPECT_EQ(entry.fileID, info.st_ino) << name;
    EXPECT_EQ(entry.links, info.st_nlink) << name;
    EXPECT_EQ(entry.privateSize, entry.size) << name << ": ext4 shares no blocks between files";
  }
  EXPECT_GE(named.at("large").size, 3 * 1024 * 1024);
  EXPECT_EQ(named.at("large").links, 2u);
  EXPECT_TRUE(named.at("sub").isDir);
  EXPECT_EQ(named.at("sub").size, 0);
  EXPECT_EQ(named.at("sub").fileID, lstatOf(folder + "/sub").st_ino);
}

TEST(BulkListing, RefusesLinksFilesAndMissingPaths) {
  FakeHome home;
  const std::string folder = home.folder("real");
  home.file("real/a", 10);
  ASSERT_EQ(::symlink(folder.c_str(), (home / "link").c_str()), 0);
  EXPECT_FALSE(DiskScanner::list(home / "link").has_value()) << "a link to a folder is not followed";
  EXPECT_FALSE(DiskScanner::list(home / "real/a").has_value());
  EXPECT_FALSE(DiskScanner::list(home / "missing").has_value());
  EXPECT_TRUE(DiskScanner::list(folder).has_value());
  const auto empty = DiskScanner::list(home.folder("empty"));
  ASSERT_TRUE(empty.has_value());
  EXPECT_TRUE(empty->empty());
}

TEST(BulkListing, KeepsNamesThatAreNotUtf8AsTheirBytes) {
  FakeHome home;
  const std::string name = "caf\xe9-\xff";
  home.file("odd/" + name, 10);
  const auto entries = DiskScanner::list(home / "odd");
  ASSERT_TRUE(entries.has_value());
  ASSERT_EQ(entries->size(), 1u);
  EXPECT_EQ((*entries)[0].name, name);
}

TEST(BulkListing, ListsFoldersWithThousandsOfEntries) {
  FakeHome home;
  const std::string folder = home.folder("many");
  for (int i = 0; i < 5000; ++i) writeFile(folder + "/entry-with-a-longish-name-" + std::to_string(i), "");
  const auto entries = DiskScanner::list(folder);
  ASSERT_TRUE(entries.has_value());
  EXPECT_EQ(byName(*entries).size(), 5000u) << "several listing buffers' worth, each entry once";
}

TEST(BulkListing, PrivateSizeLeavesOutBlocksSharedWithReflinkCopies) {
  FakeHome home;
  ScratchVolume volume("xfs");
  if (!volume.ready()) GTEST_SKIP() << volume.reason();
  const std::string original = volume.path() + "/original";
  writeFilledFile(original, 4 * 1024 * 1024, 'o');
  ASSERT_EQ(runProcess({"cp", "--reflink=always", original, volume.path() + "/clone"}).code, 0);
  writeFilledFile(volume.path() + "/alone", 2 * 1024 * 1024, 'a');
  writeFilledFile(volume.path() + "/tiny", 8 * 1024, 't');
  ASSERT_EQ(runProcess({"sync"}).code, 0);

  const auto entries = DiskScanner::list(volume.path());
  ASSERT_TRUE(entries.has_value());
  const auto named = byName(*entries);
  EXPECT_GE(named.at("original").size, 4 * 1024 * 1024);
  EXPECT_EQ(named.at("original").privateSize, 0) << "every block is shared with the clone";
  EXPECT_EQ(named.at("clone").privateSize, 0);
  EXPECT_EQ(named.at("alone").privateSize, named.at("alone").size);
  EXPECT_EQ(named.at("tiny").privateSize, named.at("tiny").size);

  // Writing into the clone gives it blocks of its own.
  {
    const std::string path = volume.path() + "/clone";
    FILE* clone = std::fopen(path.c_str(), "r+");
    ASSERT_NE(clone, nullptr);
    const std::string fresh(1024 * 1024, 'n');
    std::fwrite(fresh.data(), 1, fresh.size(), clone);
    std::fclose(clone);
  }
  ASSERT_EQ(runProcess({"sync"}).code, 0);
  const auto after = byName(*DiskScanner::list(volume.path()));
  EXPECT_EQ(after.at("clone").privateSize, 1024 * 1024);
  EXPECT_EQ(after.at("original").privateSize, 1024 * 1024) << "the original's first MiB is no longer shared";
}

}  // namespace
}  // namespace tw::test
