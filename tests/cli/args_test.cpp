#include <gtest/gtest.h>

#include "cli/cli.h"

namespace tw::CLI {
namespace {

const std::set<std::string> cleanFlags{"json", "safe", "dry-run", "yes"};

std::string usageErrorOf(const std::function<void()>& parse) {
  try {
    parse();
  } catch (const UsageError& error) {
    return error.message();
  }
  return "(no error)";
}

TEST(Args, DashesAreStrippedAndShortSpellingsMapToYesAndDryRun) {
  const Args args({"-y", "-n", "---json", "--safe"}, cleanFlags, {}, 0);
  EXPECT_EQ(args.flags, (std::set<std::string>{"yes", "dry-run", "json", "safe"}));
}

TEST(Args, OptionValuesAttachedOrFollowingAndTheLastOneWins) {
  const Args attached({"--limit=5"}, {"json"}, {"limit"}, 0);
  const Args following({"--limit", "5"}, {"json"}, {"limit"}, 0);
  EXPECT_EQ(attached.options, following.options);
  EXPECT_EQ(attached.number("limit", 20, 1), 5);
  // The next word is the value whatever it looks like.
  const Args dashValue({"--top", "-3", "--top=7", "--depth", "--json"}, {"json"}, {"top", "depth"}, 1);
  EXPECT_EQ(dashValue.options.at("top"), "7");
  EXPECT_EQ(dashValue.options.at("depth"), "--json");
  EXPECT_TRUE(dashValue.flags.empty());
}

TEST(Args, DoubleDashEndsOptionsAndLoneDashIsPositional) {
  const Args args({"-", "--", "-weird-folder"}, {"json"}, {"top"}, 2);
  EXPECT_EQ(args.positional, (std::vector<std::string>{"-", "-weird-folder"}));
}

TEST(Args, MisuseMessages) {
  EXPECT_EQ(usageErrorOf([] { Args({"--limit"}, {"json"}, {"limit"}, 0); }), "--limit needs a value");
  EXPECT_EQ(usageErrorOf([] { Args({"--json=1"}, {"json", "items"}, {}, 0); }), "unknown option '--json=1'");
  EXPECT_EQ(usageErrorOf([] { Args({"-frob"}, {"json"}, {}, 0); }), "unknown option '-frob'");
  EXPECT_EQ(usageErrorOf([] { Args({"a", "extra", "more"}, {"json"}, {}, 1); }), "unexpected argument 'extra'");
  EXPECT_EQ(usageErrorOf([] { Args({"extra"}, {"json"}, {}, 0); }), "unexpected argument 'extra'");
}

TEST(Args, NumbersAreDecimalIntegersAtLeastTheMinimum) {
  const auto numberOf = [](const std::string& value) {
    return Args({"--top", value}, {}, {"top"}, 0).number("top", 20, 1);
  };
  EXPECT_EQ(Args({}, {}, {"top"}, 0).number("top", 20, 1), 20);
  EXPECT_EQ(numberOf("+12"), 12);
  EXPECT_EQ(numberOf("9223372036854775807"), 9223372036854775807);
  for (const char* bad : {"0", "-4", "", "12a", "1.5", " 3", "9223372036854775808", "+"}) {
    EXPECT_EQ(usageErrorOf([&] { (void)numberOf(bad); }), std::string("--top expects a number ≥ 1, got '") + bad + "'")
        << bad;
  }
}

}  // namespace
}  // namespace tw::CLI
