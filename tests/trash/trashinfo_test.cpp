#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>

#include "fs/trashinfo_writer.h"
#include "support/scoped_environment.h"
#include "trash/trashinfo.h"

namespace tw::test {
namespace {

// Local time matters here: DeletionDate has no zone. A fixed, odd offset with no
// daylight saving makes the expectations exact.
class TrashInfoFile : public ::testing::Test {
 protected:
  void SetUp() override { ::tzset(); }
  void TearDown() override {
    zone_.reset();
    ::tzset();
  }

 private:
  std::optional<test::ScopedEnvironment> zone_{std::in_place,
                                               std::map<std::string, std::optional<std::string>>{{"TZ", "XYZ-5:30"}}};
};

std::string info(const std::string& path, const std::string& date) {
  return "[Trash Info]\nPath=" + path + "\nDeletionDate=" + date + "\n";
}

}  // namespace

TEST_F(TrashInfoFile, GivesTheDecodedOriginAndLocalDeletionTimeOrLeavesOutWhatIsBroken) {
  using namespace std::string_literals;
  const std::string may1 = "2024-05-01T09:30:00";
  const auto may1Utc = parseIso8601("2024-05-01T04:00:00Z");  // 09:30 at UTC+5:30
  struct Case {
    std::string text, topDir;
    std::optional<std::string> path;
    std::optional<Date> date;
  };
  std::vector<Case> cases{
      {info("/home/ann/My%20Files/r%C3%A9sum%C3%A9%25.txt", may1), "/", "/home/ann/My Files/résumé%.txt", may1Utc},
      {info("projects/old%20build", may1), "/media/usb", "/media/usb/projects/old build", may1Utc},
      {"[Trash Info]\nPath=../../etc/passwd\n", "/media/usb", std::nullopt, std::nullopt},
      {"[Trash Info]\nPath=a/%2E%2E/%2E%2E/etc\n", "/media/usb", std::nullopt, std::nullopt},
      {"[Trash Info]\nPath=a/..b/c\n", "/m", "/m/a/..b/c", std::nullopt},
      {"[Trash Info]\nDeletionDate=2023-12-31T23:59:59\n", "/", std::nullopt, parseIso8601("2023-12-31T18:29:59Z")},
      // Only the first Path of the [Trash Info] group counts.
      {"Path=/before/group\n[Other]\nPath=/other\n[Trash Info]\r\n# a comment\r\n  Path = /right%20one  \r\n"
       "Path=/second\r\nDeletionDate=2024-01-02T03:04:05\r\n",
       "/", "/right one", parseIso8601("2024-01-01T21:34:05Z")},
      {"Path=/no/group\nDeletionDate=2024-01-02T03:04:05\n", "/", std::nullopt, std::nullopt},
      {"\xff\xfe[Trash Info\0]\nPath\n=\n\x80\x81=%%%\n[Trash Info]\nPath=\n"s, "/", std::nullopt, std::nullopt},
  };
  for (const char* date : {"2024-13-01T00:00:00", "2024-02-30T10:00:00", "2024-05-01 09:30:00", "2024-05-01T09:30",
                           "2024-05-01T24:00:00", "yesterday", "", "2024-05-01T09:30:00+02:00",
                           "２０２４-05-01T09:30:00", "7250-01-02T03:04:05", "0000-01-01T00:00:00"}) {
    cases.push_back({info("/a", date), "/", "/a", std::nullopt});
  }
  for (const char* path : {"/a%G1", "/a%2", "/a%", "/%%41", "/a%00b"}) {
    cases.push_back({info(path, may1), "/", std::nullopt, may1Utc});
  }
  for (const auto& c : cases) {
    const auto parsed = parseTrashInfo(c.text, c.topDir);
    EXPECT_EQ(parsed.path, c.path) << c.text;
    EXPECT_EQ(parsed.deletionDate, c.date) << c.text;
  }
}

TEST_F(TrashInfoFile, WhatWeWriteReadsBackToThePathAndSecond) {
  const std::string origin = "/home/ann/odd name/caf\xc3\xa9 %41\x01";
  const Date when = dateFromSeconds(1'785'663'667);
  const std::string text = formatTrashInfo(origin, when);
  EXPECT_NE(text.find("Path=/home/ann/odd%20name/caf%C3%A9%20%2541%01\n"), std::string::npos) << text;
  const TrashInfo info = parseTrashInfo(text, "/");
  EXPECT_EQ(info.path, origin);
  EXPECT_EQ(info.deletionDate, when);
}

TEST(PercentDecoding, DecodesEveryByteAndRejectsBrokenEscapes) {
  EXPECT_EQ(percentDecoded("%2Fa%2fb%20"), "/a/b ");
  EXPECT_EQ(percentDecoded("%FF"), std::string("\xff"));
  EXPECT_FALSE(percentDecoded("%zz"));
  EXPECT_FALSE(percentDecoded("abc%4"));
}

}  // namespace tw::test
