#include <gtest/gtest.h>

#include "trash/ds_store.h"
#include "trash/ds_store_fixture.h"

namespace tw::test {
namespace {

std::map<std::string, PutBack> parse(const DsStoreFixture& file, const std::set<std::string>& names) {
  return parsePutBackRecords(file.bytes(), names);
}

}  // namespace

TEST(TrashPutBackRecords, GiveEachTrashedItemItsFormerFolderAndName) {
  DsStoreFixture file;
  file.text("report.pdf", "ptbL", "Users/ann/Documents/")
      .text("report.pdf", "ptbN", "report.pdf")
      .text("photos 10.42.11", "ptbL", "Users/ann/Desktop/")
      .text("photos 10.42.11", "ptbN", "photos");

  const auto info = parse(file, {"report.pdf", "photos 10.42.11"});

  ASSERT_EQ(info.size(), 2u);
  EXPECT_EQ(info.at("report.pdf"), (PutBack{"Users/ann/Documents/", "report.pdf"}));
  EXPECT_EQ(info.at("photos 10.42.11"), (PutBack{"Users/ann/Desktop/", "photos"}));
}

TEST(TrashPutBackRecords, IgnoreNamesThatAreNotInTheTrashAnyMore) {
  DsStoreFixture file;
  file.text("gone.txt", "ptbL", "Users/ann/").text("here.txt", "ptbL", "Users/bob/");

  const auto info = parse(file, {"here.txt"});

  ASSERT_EQ(info.size(), 1u);
  EXPECT_EQ(info.at("here.txt").location, "Users/bob/");
}

TEST(TrashPutBackRecords, IgnorePtbLInsideAnotherRecordsData) {
  DsStoreFixture file;
  // "ptbL" followed by something other than "ustr" is just bytes of another record.
  file.blob("a.txt", "Iloc", std::string("xxptbLblob\0\0\0\x05zzzz", 18) + std::string(8, '\0'))
      .blob("a.txt", "cmmt",
            std::string("ptbL") + "utxt" + DsStoreFixture::bigEndian(3) + DsStoreFixture::utf16("abc"));

  EXPECT_TRUE(parse(file, {"a.txt"}).empty());
}

TEST(TrashPutBackRecords, SkipValuesOf4096CodeUnitsOrMore) {
  DsStoreFixture file;
  file.longText("big", "ptbL", 4096).longText("edge", "ptbL", 4095).text("big", "ptbN", "big");

  const auto info = parse(file, {"big", "edge"});

  ASSERT_EQ(info.count("edge"), 1u);
  EXPECT_EQ(info.at("edge").location->size(), 4095u);
  // The oversized location is dropped, but the record after it is still found.
  ASSERT_EQ(info.count("big"), 1u);
  EXPECT_FALSE(info.at("big").location);
  EXPECT_EQ(info.at("big").name, "big");
}

TEST(TrashPutBackRecords, KeepWhatPrecedesATruncation) {
  DsStoreFixture file;
  file.text("first", "ptbL", "Users/ann/").text("second", "ptbL", "Users/ann/Downloads/");
  const std::string cut = file.bytes().substr(0, file.bytes().size() - 5);

  const auto info = parsePutBackRecords(cut, {"first", "second"});

  ASSERT_EQ(info.size(), 1u);
  EXPECT_EQ(info.at("first").location, "Users/ann/");
  EXPECT_TRUE(parsePutBackRecords(file.bytes().substr(0, 19), {"first"}).empty());
  EXPECT_TRUE(parsePutBackRecords("", {"first"}).empty());
}

TEST(TrashPutBackRecords, LaterRecordsOverwriteEarlierOnesOfTheSameKind) {
  DsStoreFixture file;
  file.text("a", "ptbN", "old name").text("a", "ptbL", "Users/ann/").text("a", "ptbN", "new name");

  EXPECT_EQ(parse(file, {"a"}).at("a"), (PutBack{"Users/ann/", "new name"}));
}

TEST(TrashPutBackRecords, DecodeNamesAndValuesBeyondTheBasicPlane) {
  DsStoreFixture file;
  file.text("Résumé 🎉.txt", "ptbL", "Users/zoë/Desktop 📁/");

  const auto info = parse(file, {"Résumé 🎉.txt"});

  ASSERT_EQ(info.count("Résumé 🎉.txt"), 1u);
  EXPECT_EQ(info.at("Résumé 🎉.txt").location, "Users/zoë/Desktop 📁/");
}

TEST(TrashPutBackRecords, RejectValuesWithBrokenSurrogates) {
  DsStoreFixture file;
  // A lone high surrogate (D800) where a value should be.
  file.raw(DsStoreFixture::bigEndian(1) + DsStoreFixture::utf16("x") + "ptbLustr" + DsStoreFixture::bigEndian(2) +
           std::string("\xD8\x00\x00\x41", 4));
  file.text("y", "ptbL", "ok/");

  const auto info = parse(file, {"x", "y"});

  EXPECT_EQ(info.count("x"), 0u);
  EXPECT_EQ(info.at("y").location, "ok/");
}

TEST(TrashPutBackRecords, SurviveARecordWithAZeroLengthOrHugeLength) {
  DsStoreFixture file;
  file.raw(DsStoreFixture::bigEndian(1) + DsStoreFixture::utf16("x") + "ptbLustr" + DsStoreFixture::bigEndian(0));
  file.raw(DsStoreFixture::bigEndian(1) + DsStoreFixture::utf16("x") + "ptbNustr" +
           DsStoreFixture::bigEndian(0xFFFFFFFF));
  file.text("x", "ptbN", "fine");

  EXPECT_EQ(parse(file, {"x"}).at("x"), (PutBack{std::nullopt, "fine"}));
}

}  // namespace tw::test
