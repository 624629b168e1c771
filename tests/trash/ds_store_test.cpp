#include <gtest/gtest.h>

#include "trash/ds_store.h"
#include "trash/ds_store_fixture.h"

namespace tw::test {
namespace {

using Fixture = DsStoreFixture;

struct RecordsCase {
  const char* what;
  std::string bytes;
  std::set<std::string> names;
  std::map<std::string, PutBack> expected;
};

std::string cut(const Fixture& file, std::size_t dropped) {
  return file.bytes().substr(0, file.bytes().size() - dropped);
}

// A record written by hand: name "x", then `codeAndType` and `rest` exactly as given.
std::string rawX(const std::string& codeAndType, const std::string& rest) {
  return Fixture::bigEndian(1) + Fixture::utf16("x") + codeAndType + rest;
}

}  // namespace

TEST(TrashPutBackRecords, AreFoundByScanningAndSurviveDamage) {
  const Fixture twoItems = Fixture()
                               .text("report.pdf", "ptbL", "Users/ann/Documents/")
                               .text("report.pdf", "ptbN", "report.pdf")
                               .text("photos 10.42.11", "ptbL", "Users/ann/Desktop/")
                               .text("photos 10.42.11", "ptbN", "photos");
  const Fixture truncated = Fixture().text("first", "ptbL", "Users/ann/").text("second", "ptbL", "Users/ann/x/");
  const std::vector<RecordsCase> cases{
      {"each item's former folder and name",
       twoItems.bytes(),
       {"report.pdf", "photos 10.42.11"},
       {{"report.pdf", {"Users/ann/Documents/", "report.pdf"}}, {"photos 10.42.11", {"Users/ann/Desktop/", "photos"}}}},
      {"names no longer in the Trash are ignored",
       Fixture().text("gone.txt", "ptbL", "Users/ann/").text("here.txt", "ptbL", "Users/bob/").bytes(),
       {"here.txt"},
       {{"here.txt", {"Users/bob/", std::nullopt}}}},
      // "ptbL" not followed by "ustr" is just bytes of another record.
      {"ptbL inside another record's data",
       Fixture()
           .blob("a.txt", "Iloc", std::string("xxptbLblob\0\0\0\x05zzzz", 18) + std::string(8, '\0'))
           .blob("a.txt", "cmmt", std::string("ptbLutxt") + Fixture::bigEndian(3) + Fixture::utf16("abc"))
           .bytes(),
       {"a.txt"},
       {}},
      // The oversized location is dropped, but the record after it is still found.
      {"values of 4096 code units or more are skipped",
       Fixture().longText("big", "ptbL", 4096).longText("edge", "ptbL", 4095).text("big", "ptbN", "big").bytes(),
       {"big", "edge"},
       {{"big", {std::nullopt, "big"}}, {"edge", {std::string(4095, 'a'), std::nullopt}}}},
      {"what precedes a truncation is kept", cut(truncated, 5), {"first", "second"}, {{"first", {"Users/ann/", {}}}}},
      {"a file cut inside the header", truncated.bytes().substr(0, 19), {"first"}, {}},
      {"an empty file", "", {"first"}, {}},
      {"later records overwrite earlier ones",
       Fixture().text("a", "ptbN", "old name").text("a", "ptbL", "Users/ann/").text("a", "ptbN", "new name").bytes(),
       {"a"},
       {{"a", {"Users/ann/", "new name"}}}},
      {"names and values beyond the basic plane",
       Fixture().text("Résumé 🎉.txt", "ptbL", "Users/zoë/Desktop 📁/").bytes(),
       {"Résumé 🎉.txt"},
       {{"Résumé 🎉.txt", {"Users/zoë/Desktop 📁/", std::nullopt}}}},
      {"a lone high surrogate rejects only its value",
       Fixture()
           .raw(rawX("ptbLustr", Fixture::bigEndian(2) + std::string("\xD8\x00\x00\x41", 4)))
           .text("y", "ptbL", "ok/")
           .bytes(),
       {"x", "y"},
       {{"y", {"ok/", std::nullopt}}}},
      {"zero and huge lengths",
       Fixture()
           .raw(rawX("ptbLustr", Fixture::bigEndian(0)))
           .raw(rawX("ptbNustr", Fixture::bigEndian(0xFFFFFFFF)))
           .text("x", "ptbN", "fine")
           .bytes(),
       {"x"},
       {{"x", {std::nullopt, "fine"}}}},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(parsePutBackRecords(c.bytes, c.names), c.expected) << c.what;
  }
}

}  // namespace tw::test
