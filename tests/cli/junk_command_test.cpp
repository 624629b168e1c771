#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <string>

#include "core/format.h"
#include "core/text.h"
#include "junk/junk_fake_home.h"
#include "support/fake_home.h"

namespace tw::test {
namespace {

using nlohmann::json;

RunResult junk(const std::string& table, std::vector<std::string> arguments) {
  arguments.insert(arguments.begin(), "junk");
  return runTidewarden(arguments, {{"TIDEWARDEN_JUNK_TABLE", table}});
}

// Which paths each platform's catalogue offers is the catalogue's business; this is about the answer.
TEST(JunkCommand, JsonListsTheCatalogueOfAFakeHomeAndOnlyCountsWithoutItems) {
  FakeHome home;
  const JunkHome layout = makeMacJunkHome(home);
  const RunResult result = junk("macos", {"--json", "--items"});
  ASSERT_EQ(result.code, 0) << result.err;
  EXPECT_EQ(result.err, "");
  const json listing = json::parse(result.out);
  const std::vector<std::string> ids{"caches", "appcaches", "logs", "xcode", "dev", "trash", "installers"};
  const std::vector<std::string> titles{
      "User Cache Files",       "App & Browser Caches", "Log Files", "Xcode Junk", "Developer Caches", "Trash",
      "Installers in Downloads"};
  ASSERT_EQ(listing["categories"].size(), ids.size());
  std::int64_t total = 0;
  std::int64_t safeTotal = 0;
  for (std::size_t index = 0; index < ids.size(); ++index) {
    const json& category = listing["categories"][index];
    EXPECT_EQ(category["id"], ids[index]);
    EXPECT_EQ(category["title"], titles[index]);
    EXPECT_TRUE(category["detail"].is_string());
    const bool safe = ids[index] != "trash" && ids[index] != "installers";
    EXPECT_EQ(category["safe"], safe) << ids[index];
    EXPECT_TRUE(category["note"].is_null()) << ids[index];
    std::set<std::string> offered;
    std::int64_t sum = 0;
    for (const json& item : category["items"]) {
      const std::string path = item["path"];
      offered.insert(path.substr(home.path().size() + 1));
      EXPECT_EQ(item["size"].get<std::int64_t>(), allocatedBytes(path)) << path;
      sum += item["size"].get<std::int64_t>();
    }
    EXPECT_EQ(offered, layout.offered.at(ids[index])) << ids[index];
    EXPECT_EQ(category["count"], category["items"].size());
    EXPECT_EQ(category["total"], sum);
    total += sum;
    if (safe) safeTotal += sum;
  }
  EXPECT_EQ(listing["total"], total);
  EXPECT_EQ(listing["safeTotal"], safeTotal);
  EXPECT_GT(safeTotal, 0);

  const json counts = json::parse(junk("macos", {"--json"}).out);
  for (const json& category : counts["categories"]) {
    EXPECT_FALSE(category.contains("items")) << category["id"];
    EXPECT_EQ(category["count"], layout.offered.at(category["id"].get<std::string>()).size()) << category["id"];
  }
}

TEST(JunkCommand, TextMarksTheSafeCategoriesAndTotalsThem) {
  FakeHome home;
  junkFile(home, "Library/Caches/app/data");
  junkFile(home, "Downloads/Setup.dmg");
  const RunResult result = junk("macos", {"--items"});
  ASSERT_EQ(result.code, 0) << result.err;
  const auto lines = splitLines(result.out);
  ASSERT_GE(lines.size(), 9u);
  EXPECT_TRUE(lines[0].starts_with("✓ User Cache Files")) << result.out;
  EXPECT_NE(lines[0].find("1 item"), std::string::npos);
  EXPECT_NE(result.out.find("  Installers in Downloads"), std::string::npos);
  EXPECT_EQ(result.out.find("✓ Installers"), std::string::npos);
  EXPECT_EQ(result.out.find("✓ Trash"), std::string::npos);
  EXPECT_NE(result.out.find("~/Library/Caches/app\n"), std::string::npos) << result.out;
  EXPECT_NE(result.out.find("~/Downloads/Setup.dmg\n"), std::string::npos);
  EXPECT_NE(result.out.find("Grant Tidewarden Full Disk Access"), std::string::npos);
  const std::string both = byteFormatter(2 * allocatedBytes(home / "Downloads/Setup.dmg"));
  const std::string one = byteFormatter(allocatedBytes(home / "Downloads/Setup.dmg"));
  EXPECT_NE(result.out.find("\nTotal " + both + ". `tidewarden clean --safe` frees " + one + " (✓ categories).\n"),
            std::string::npos)
      << result.out;
}

TEST(JunkCommand, AnUnreadableTrashOrANameThatIsNotUtf8StillGivesValidJson) {
  FakeHome home;
  junkFile(home, ".Trash");
  junkFile(home, "Library/Logs/app.log");
  junkFile(home, std::string("Library/Caches/bad-\xff\xfe-name/data"));
  const RunResult result = junk("macos", {"--json", "--items"});
  ASSERT_EQ(result.code, 0);
  EXPECT_EQ(validUtf8(result.out), result.out);
  const json answer = json::parse(result.out);
  EXPECT_EQ(answer["categories"][5]["note"],
            "Grant Tidewarden Full Disk Access in System Settings \u203A Privacy & Security to empty the Trash here.");
  EXPECT_EQ(answer["categories"][2]["count"], 1);
  ASSERT_EQ(answer["categories"][0]["items"].size(), 1u);
  EXPECT_NE(answer["categories"][0]["items"][0]["path"].get<std::string>().find("bad-"), std::string::npos);
}

}  // namespace
}  // namespace tw::test
