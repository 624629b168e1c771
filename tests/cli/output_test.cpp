#include <gtest/gtest.h>

#include "cli/cli.h"
#include "support/fake_home.h"

namespace tw::CLI {
namespace {

std::vector<std::string> lines(const std::string& text) {
  std::vector<std::string> result;
  std::size_t start = 0;
  for (std::size_t end; (end = text.find('\n', start)) != std::string::npos; start = end + 1) {
    result.push_back(text.substr(start, end - start));
  }
  return result;
}

TEST(Table, ALeftAlignedLastColumnLeavesNoTrailingBlanks) {
  const auto text = formatTable({{"node_modules", "1.2 GB", "x"}, {"a", "3 KB", "longer last"}, {"b"}},
                                {Align::left, Align::right}, "  ");
  EXPECT_EQ(text,
            "  node_modules  1.2 GB  x\n"
            "  a               3 KB  longer last\n"
            "  b\n");
  for (const auto& line : lines(text)) EXPECT_NE(line.back(), ' ');
}

TEST(Table, ARightAlignedLastColumnGivesLinesOfEqualLength) {
  const auto text =
      formatTable({{"a", "1 byte"}, {"ünïcode", "12.3 MB"}, {"bb", "0 bytes"}}, {Align::left, Align::right});
  const auto rows = lines(text);
  ASSERT_EQ(rows.size(), 3u);
  EXPECT_EQ(rows[1], "ünïcode  12.3 MB");
  EXPECT_EQ(rows[0], "a         1 byte");
}

TEST(Table, NoRowsOrNoCellsPrintNothingAndBrokenNamesStayAligned) {
  EXPECT_EQ(formatTable({}), "");
  EXPECT_EQ(formatTable({{}, {}}), "");
  const auto text = formatTable({{"caf\xe9", "x"}, {"cafe", "y"}});
  EXPECT_EQ(text, "caf\xEF\xBF\xBD  x\ncafe  y\n");
}

TEST(Describe, EveryActionCase) {
  test::FakeHome home;
  EXPECT_EQ(describe(DevAction::removePaths({home / "p/node_modules"})), "delete ~/p/node_modules");
  EXPECT_EQ(describe(DevAction::removePaths({home / "p/a", home / "q/b", "/c"})), "delete 3 paths in ~/p");
  EXPECT_EQ(describe(DevAction::trash({home / "a", "/tmp/b"})), "move to Trash: ~/a, /tmp/b");
  EXPECT_EQ(describe(DevAction::admin("rm -rf '/Library/x'")), "as administrator: rm -rf '/Library/x'");
  EXPECT_EQ(describe(DevAction::custom([] { return std::optional<std::string>{}; })), "custom action");
  EXPECT_EQ(describe(DevAction::commands({{"/usr/bin/xcrun", "simctl", "delete", "unavailable"},
                                          {},
                                          {"/usr/bin/git", "-C", "/my repo", "gc", "--prune=now"},
                                          {"/bin/sh", "-c", "a;b", "x*", "it's", "$HOME", "(a)", "a|b", "<>", "?"}})),
            "xcrun simctl delete unavailable && git -C '/my repo' gc --prune=now && "
            "sh -c 'a;b' 'x*' 'it's' '$HOME' '(a)' 'a|b' '<>' '?'");
}

TEST(ItemJSON, ElevenKeysWithNullsForAbsentValues) {
  DevItem item;
  item.id = "/p/\xff";
  item.name = "node_modules";
  item.size = 2048;
  item.badges = {{"mostly shared", Badge::Tone::info}};
  item.action = DevAction::removePaths({"/p/node_modules"});
  item.warning = "careful";
  const auto json = itemJSON(item);
  EXPECT_EQ(json.size(), 11u);
  EXPECT_EQ(json["id"], "/p/\xEF\xBF\xBD");
  EXPECT_EQ(json["size"], 2048);
  EXPECT_TRUE(json["freeable"].is_null());
  EXPECT_TRUE(json["restoreHint"].is_null());
  EXPECT_TRUE(json["path"].is_null());
  EXPECT_EQ(json["warning"], "careful");
  EXPECT_EQ(json["badges"], nlohmann::json::array({"mostly shared"}));
  EXPECT_EQ(json["selected"], false);
  EXPECT_EQ(json["detail"], "");
  EXPECT_EQ(json["action"], "delete /p/node_modules");
}

TEST(OutputHelpers, PluralBadgesDecimalAndJson) {
  EXPECT_EQ(plural(1, "item"), "1 item");
  EXPECT_EQ(plural(0, "item"), "0 items");
  EXPECT_EQ(badgeText({{"stale", Badge::Tone::warn}, {"large", Badge::Tone::ok}}), "[stale] [large]");
  EXPECT_EQ(badgeText({}), "");
  EXPECT_EQ(decimal(1.23456, 2).dump(), "1.23");
  EXPECT_EQ(decimal(2.0, 3).dump(), "2.0");
  EXPECT_EQ(encodeJSON({{"b", "a/b"}, {"a", nullptr}}), "{\n  \"a\": null,\n  \"b\": \"a/b\"\n}");
  EXPECT_EQ(encodeJSON({{"name", "\xfe"}}), "{\n  \"name\": \"\xEF\xBF\xBD\"\n}");
  EXPECT_EQ(jsonDate(dateFromSeconds(1'714'555'800)), "2024-05-01T09:30:00Z");
  EXPECT_TRUE(jsonDate(std::nullopt).is_null());
}

TEST(Expand, TildeRelativeAndDotsBecomeOneAbsolutePath) {
  test::FakeHome home;
  EXPECT_EQ(expand("~"), home.path());
  EXPECT_EQ(expand("~/a/../b//"), home / "b");
  EXPECT_EQ(expand("/x/./y"), "/x/y");
  EXPECT_EQ(expand("rel")[0], '/');
  EXPECT_EQ(tilde(home / "b"), "~/b");
}

}  // namespace
}  // namespace tw::CLI
