#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>

#include "trash/trashinfo.h"

namespace tw::test {
namespace {

// Local time matters here: DeletionDate has no zone. A fixed, odd offset with no
// daylight saving makes the expectations exact.
class TrashInfoFile : public ::testing::Test {
 protected:
  void SetUp() override {
    const char* old = std::getenv("TZ");
    if (old != nullptr) savedZone_ = old;
    ::setenv("TZ", "XYZ-5:30", 1);
    ::tzset();
  }
  void TearDown() override {
    if (savedZone_) {
      ::setenv("TZ", savedZone_->c_str(), 1);
    } else {
      ::unsetenv("TZ");
    }
    ::tzset();
  }

 private:
  std::optional<std::string> savedZone_;
};

}  // namespace

TEST_F(TrashInfoFile, GivesTheDecodedOriginalPathAndTheLocalDeletionTime) {
  const auto info = parseTrashInfo(
      "[Trash Info]\nPath=/home/ann/My%20Files/r%C3%A9sum%C3%A9%25.txt\nDeletionDate=2024-05-01T09:30:00\n", "/");

  EXPECT_EQ(info.path, "/home/ann/My Files/résumé%.txt");
  // 09:30 at UTC+5:30 is 04:00 UTC.
  EXPECT_EQ(info.deletionDate, parseIso8601("2024-05-01T04:00:00Z"));
}

TEST_F(TrashInfoFile, TakesRelativePathsFromTheTopFolder) {
  const auto info =
      parseTrashInfo("[Trash Info]\nPath=projects/old%20build\nDeletionDate=2024-05-01T09:30:00\n", "/media/usb");

  EXPECT_EQ(info.path, "/media/usb/projects/old build");
}

TEST_F(TrashInfoFile, RefusesRelativePathsThatClimbOutOfTheTopFolder) {
  EXPECT_FALSE(parseTrashInfo("[Trash Info]\nPath=../../etc/passwd\n", "/media/usb").path);
  EXPECT_FALSE(parseTrashInfo("[Trash Info]\nPath=a/%2E%2E/%2E%2E/etc\n", "/media/usb").path);
  EXPECT_EQ(parseTrashInfo("[Trash Info]\nPath=a/..b/c\n", "/m").path, "/m/a/..b/c");
}

TEST_F(TrashInfoFile, WithoutPathStillHasItsDate) {
  const auto info = parseTrashInfo("[Trash Info]\nDeletionDate=2023-12-31T23:59:59\n", "/");

  EXPECT_FALSE(info.path);
  EXPECT_EQ(info.deletionDate, parseIso8601("2023-12-31T18:29:59Z"));
}

TEST_F(TrashInfoFile, MalformedDatesAreLeftOut) {
  for (const char* date : {"2024-13-01T00:00:00", "2024-02-30T10:00:00", "2024-05-01 09:30:00", "2024-05-01T09:30",
                           "2024-05-01T24:00:00", "yesterday", "", "2024-05-01T09:30:00+02:00",
                           "２０２４-05-01T09:30:00", "7250-01-02T03:04:05", "0000-01-01T00:00:00"}) {
    const auto info = parseTrashInfo(std::string("[Trash Info]\nPath=/a\nDeletionDate=") + date + "\n", "/");
    EXPECT_FALSE(info.deletionDate) << date;
    EXPECT_EQ(info.path, "/a") << date;
  }
}

TEST_F(TrashInfoFile, InvalidPercentEncodingLeavesThePathOut) {
  for (const char* path : {"/a%G1", "/a%2", "/a%", "/%%41", "/a%00b"}) {
    const auto info =
        parseTrashInfo(std::string("[Trash Info]\nPath=") + path + "\nDeletionDate=2024-01-01T00:00:00", "/");
    EXPECT_FALSE(info.path) << path;
    EXPECT_TRUE(info.deletionDate) << path;
  }
}

TEST_F(TrashInfoFile, OnlyTheTrashInfoGroupCounts) {
  const auto info = parseTrashInfo(
      "Path=/before/group\n[Other]\nPath=/other\n[Trash Info]\r\n# a comment\r\n  Path = /right%20one  \r\n"
      "Path=/second\r\nDeletionDate=2024-01-02T03:04:05\r\n",
      "/");

  EXPECT_EQ(info.path, "/right one");
  EXPECT_TRUE(info.deletionDate);
  EXPECT_FALSE(parseTrashInfo("Path=/no/group\nDeletionDate=2024-01-02T03:04:05\n", "/").path);
}

TEST_F(TrashInfoFile, GarbageGivesNothing) {
  using namespace std::string_literals;
  const std::string garbage = "\xff\xfe[Trash Info\0]\nPath\n=\n\x80\x81=%%%\n[Trash Info]\nPath=\n"s;
  const auto info = parseTrashInfo(garbage, "/");
  EXPECT_FALSE(info.path);
  EXPECT_FALSE(info.deletionDate);
}

TEST(PercentDecoding, DecodesEveryByteAndRejectsBrokenEscapes) {
  EXPECT_EQ(percentDecoded("%2Fa%2fb%20"), "/a/b ");
  EXPECT_EQ(percentDecoded("%FF"), std::string("\xff"));
  EXPECT_FALSE(percentDecoded("%zz"));
  EXPECT_FALSE(percentDecoded("abc%4"));
}

}  // namespace tw::test
