#include <gtest/gtest.h>

#include <map>
#include <nlohmann/json.hpp>
#include <string>
#include <tuple>

#include "core/format.h"
#include "core/text.h"
#include "junk/junk_fake_home.h"
#include "support/fake_home.h"

namespace tw::test {
namespace {

using nlohmann::json;

TEST(JunkCommand, JsonListsExactlyTheCatalogueOfEachPlatformsFakeHomeWithItemsOnRequest) {
  const std::map<std::string, std::string> titles{{"caches", "User Cache Files"},
                                                  {"appcaches", "App & Browser Caches"},
                                                  {"logs", "Log Files"},
                                                  {"xcode", "Xcode Junk"},
                                                  {"dev", "Developer Caches"},
                                                  {"trash", "Trash"},
                                                  {"installers", "Installers in Downloads"}};
  for (const auto& [table, stock, ids] : {std::tuple{"macos", &makeMacJunkHome, &kJunkCategoryIds},
                                          std::tuple{"linux", &makeLinuxJunkHome, &kLinuxJunkCategoryIds}}) {
    SCOPED_TRACE(table);
    FakeHome home;
    const JunkHome layout = stock(home);
    const RunResult result = tidewardenWith(table, {"junk", "--json", "--items"});
    ASSERT_EQ(result.code, 0) << result.err;
    EXPECT_EQ(result.err, "");
    const json answer = json::parse(result.out);
    ASSERT_EQ(answer["categories"].size(), ids->size());
    std::int64_t total = 0, safeTotal = 0;
    for (std::size_t index = 0; index < ids->size(); ++index) {
      const json& category = answer["categories"][index];
      const std::string& id = (*ids)[index];
      EXPECT_EQ(category["id"], id);
      EXPECT_EQ(category["title"], titles.at(id));
      EXPECT_TRUE(category["detail"].is_string());
      EXPECT_EQ(category["safe"], kSafeJunkCategoryIds.contains(id)) << id;
      EXPECT_TRUE(category["note"].is_null()) << id;
      std::set<std::string> offered;
      std::int64_t sum = 0, previous = INT64_MAX;
      for (const json& item : category["items"]) {
        const std::string path = item["path"];
        const std::int64_t size = item["size"];
        offered.insert(path.substr(home.path().size() + 1));
        EXPECT_EQ(size, allocatedBytes(path)) << path;
        EXPECT_LE(size, previous) << path << " comes after a smaller item";
        previous = size;
        sum += size;
      }
      EXPECT_EQ(offered, layout.offered.at(id)) << id;
      EXPECT_EQ(category["count"], offered.size()) << id << ": nothing listed twice";
      EXPECT_EQ(category["items"].size(), offered.size()) << id;
      EXPECT_EQ(category["total"], sum);
      total += sum;
      safeTotal += category["safe"] ? sum : 0;
    }
    EXPECT_EQ(answer["total"], total);
    EXPECT_EQ(answer["safeTotal"], safeTotal);
    EXPECT_GT(safeTotal, 0);
    json withoutItems = answer;
    for (auto& category : withoutItems["categories"]) category.erase("items");
    EXPECT_EQ(json::parse(tidewardenWith(table, {"junk", "--json"}).out), withoutItems)
        << "--items only adds the item lists";
  }
}

TEST(JunkCommand, TextMarksTheSafeCategoriesAndTotalsThem) {
  FakeHome home;
  junkFile(home, "Library/Caches/app/data");
  junkFile(home, "Downloads/Setup.dmg");
  const RunResult result = tidewardenWith("macos", {"junk", "--items"});
  ASSERT_EQ(result.code, 0) << result.err;
  const auto& out = result.out;
  const auto lines = splitLines(out);
  ASSERT_GE(lines.size(), 9u);
  EXPECT_TRUE(lines[0].starts_with("✓ User Cache Files")) << out;
  EXPECT_NE(lines[0].find("1 item"), std::string::npos);
  const std::string both = byteFormatter(2 * allocatedBytes(home / "Downloads/Setup.dmg"));
  const std::string one = byteFormatter(allocatedBytes(home / "Downloads/Setup.dmg"));
  for (const std::string& expected :
       {std::string("  Installers in Downloads"), std::string("~/Library/Caches/app\n"),
        std::string("~/Downloads/Setup.dmg\n"), std::string("Grant Tidewarden Full Disk Access"),
        "\nTotal " + both + ". `tidewarden clean --safe` frees " + one + " (✓ categories).\n"}) {
    EXPECT_NE(out.find(expected), std::string::npos) << expected << " in:\n" << out;
  }
  EXPECT_EQ(out.find("✓ Installers"), std::string::npos);
  EXPECT_EQ(out.find("✓ Trash"), std::string::npos);
}

TEST(JunkCommand, AnUnreadableTrashAndNamesThatAreNotUtf8StillGiveValidJson) {
  FakeHome home;
  junkFile(home, ".Trash");
  junkFile(home, ".local/share/Trash/files");
  for (const char* caches : {"Library/Caches/", ".cache/"})
    junkFile(home, caches + std::string("bad-\xff\xfe-name/data"));
  for (const auto& [table, note] :
       {std::pair{"macos",
                  "Grant Tidewarden Full Disk Access in System Settings \u203A Privacy & Security to empty the "
                  "Trash here."},
        {"linux",
         "Tidewarden can't read your Trash folder (~/.local/share/Trash/files). Check its permissions to empty "
         "the Trash here."}}) {
    const RunResult result = tidewardenWith(table, {"junk", "--json", "--items"});
    ASSERT_EQ(result.code, 0) << table;
    EXPECT_EQ(validUtf8(result.out), result.out);
    const json answer = json::parse(result.out);
    const json* trash = nullptr;
    for (const json& category : answer["categories"]) {
      if (category["id"] == "trash") trash = &category;
    }
    ASSERT_NE(trash, nullptr) << table;
    EXPECT_EQ((*trash)["note"], note) << "in the platform's words";
    ASSERT_EQ(answer["categories"][0]["items"].size(), 1u) << table << ": the rest still runs";
    EXPECT_NE(answer["categories"][0]["items"][0]["path"].get<std::string>().find("bad-"), std::string::npos);
  }
}

TEST(JunkCommand, FlagsTakeNoValues) {
  FakeHome home;
  const RunResult result = runTidewarden({"junk", "--json=1"});
  EXPECT_EQ(result.code, 2);
  EXPECT_EQ(result.err, "tidewarden: unknown option '--json=1'\nRun 'tidewarden help' for usage.\n");
}

}  // namespace
}  // namespace tw::test
