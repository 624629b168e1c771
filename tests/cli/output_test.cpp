#include <gtest/gtest.h>

#include "cli/cli.h"
#include "core/text.h"
#include "support/fake_home.h"

namespace tw::CLI {
namespace {

TEST(Table, ALeftAlignedLastColumnLeavesNoTrailingBlanks) {
  const auto text = formatTable({{"node_modules", "1.2 GB", "x"}, {"a", "3 KB", "longer last"}, {"b"}},
                                {Align::left, Align::right}, "  ");
  EXPECT_EQ(text,
            "  node_modules  1.2 GB  x\n"
            "  a               3 KB  longer last\n"
            "  b\n");
  for (const auto& line : splitLines(text)) EXPECT_NE(line.back(), ' ');
}

TEST(Table, ARightAlignedLastColumnGivesLinesOfEqualLengthAndBrokenNamesStayAligned) {
  EXPECT_EQ(formatTable({{"a", "1 byte"}, {"ünïcode", "12.3 MB"}, {"bb", "0 bytes"}}, {Align::left, Align::right}),
            "a         1 byte\n"
            "ünïcode  12.3 MB\n"
            "bb       0 bytes\n");
  EXPECT_EQ(formatTable({{"caf\xe9", "x"}, {"cafe", "y"}}), "caf\xEF\xBF\xBD  x\ncafe  y\n");
  EXPECT_EQ(formatTable({}), "");
  EXPECT_EQ(formatTable({{}, {}}), "");
}

TEST(Describe, EveryActionCase) {
  test::FakeHome home;
  const auto describe = [&](const DevAction& action) { return tw::describe(action, home.path()); };
  EXPECT_EQ(describe(DevAction::removePaths({home / "p/node_modules"})), "delete ~/p/node_modules");
  EXPECT_EQ(describe(DevAction::removePaths({home / "p/a", home / "q/b", "/c"})), "delete 3 paths in ~/p");
  EXPECT_EQ(describe(DevAction::trash({home / "a", "/tmp/b"})), "move to Trash: ~/a, /tmp/b");
  EXPECT_EQ(describe(DevAction::admin("rm -rf '/Library/x'")), "as administrator: rm -rf '/Library/x'");
  EXPECT_EQ(describe(DevAction::custom([] { return std::optional<std::string>{}; })), "custom action");
  EXPECT_EQ(describe(DevAction::custom([] { return std::optional<std::string>{}; }, "delete ~/.cache/pip")),
            "delete ~/.cache/pip");
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
  EXPECT_EQ(itemJSON(item, "/home/someone"),
            nlohmann::json::parse(R"({"id": "/p/\ufffd", "name": "node_modules", "detail": "",
      "size": 2048, "freeable": null, "selected": false, "badges": ["mostly shared"], "warning": "careful",
      "restoreHint": null, "path": null, "action": "delete /p/node_modules"})"));
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
  EXPECT_EQ(expand("~", home.path()), home.path());
  EXPECT_EQ(expand("~/a/../b//", home.path()), home / "b");
  EXPECT_EQ(expand("/x/./y", home.path()), "/x/y");
  EXPECT_EQ(expand("rel", home.path())[0], '/');
  EXPECT_EQ(tilde(home / "b", home.path()), "~/b");
}

}  // namespace
}  // namespace tw::CLI
