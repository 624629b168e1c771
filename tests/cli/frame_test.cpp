#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "cli/cli.h"
#include "support/fake_home.h"

namespace tw::test {
namespace {

const std::string usageText =
    "Tidewarden: disk cleanup for developers.\n\nusage: tidewarden <command> [options]\n\n"
    "  status                            Disk total, used, free and purgeable space\n"
    "  scan [path] [--top N] [--depth D] Largest items in a folder (default ~, top 20, depth 1)\n"
    "  junk [--items]                    Smart Clean categories and their sizes\n"
    "  clean --safe [--dry-run] [--yes]  Delete caches, logs and package leftovers (never the Trash)\n"
    "  trash [list]                      Items in the Trash with size and date deleted\n"
    "  trash empty [--dry-run] [--yes]   Permanently delete everything in the Trash\n"
    "  history [--limit N]               What Tidewarden removed (default last 20)\n"
    "  ai                                Developer screen; --selected shows only pre-selected items\n"
    "  apps                              Developer screen; --selected shows only pre-selected items\n"
    "  dedupe                            Developer screen; --selected shows only pre-selected items\n"
    "  docker                            Developer screen; --selected shows only pre-selected items\n"
    "  git                               Developer screen; --selected shows only pre-selected items\n"
    "  ide                               Developer screen; --selected shows only pre-selected items\n"
    "  large                             Developer screen; --selected shows only pre-selected items\n"
    "  projects                          Developer screen; --selected shows only pre-selected items\n"
    "  simulators                        Developer screen; --selected shows only pre-selected items\n"
    "  system                            Developer screen; --selected shows only pre-selected items\n"
    "  toolchains                        Developer screen; --selected shows only pre-selected items\n"
    "  worktrees                         Developer screen; --selected shows only pre-selected items\n"
    "  <screen> clean --selected [--dry-run] [--yes]\n"
    "                                    Run the action of every pre-selected item\n"
    "  help                              Show this help\n\n"
    "Every command accepts --json (sizes in bytes). Destructive commands only print\n"
    "what they would do unless --yes is given; --dry-run never deletes anything.";

std::string usageErrorOf(const std::function<void()>& parse) {
  try {
    parse();
  } catch (const CLI::UsageError& error) {
    return error.message();
  }
  return "(no error)";
}

using CLI::Args;

TEST(CommandLine, HelpPrintsTheUsageTextExactlyAndHelpJsonListsTheCommandsSorted) {
  FakeHome home;
  for (const char* word : {"help", "--help", "-h"}) {
    const auto result = runTidewarden({word});
    EXPECT_EQ(result.code, 0);
    EXPECT_EQ(result.out, usageText + "\n");
    EXPECT_EQ(result.err, "");
  }

  const auto result = runTidewarden({"help", "--json"});
  ASSERT_EQ(result.code, 0);
  const auto json = nlohmann::json::parse(result.out);
  EXPECT_EQ(json.size(), 2u);
  const std::vector<std::string> screens{"ai",    "apps",     "dedupe",     "docker", "git",        "ide",
                                         "large", "projects", "simulators", "system", "toolchains", "worktrees"};
  EXPECT_EQ(json["providers"].get<std::vector<std::string>>(), screens);
  std::vector<std::string> commands{"--help", "-h", "clean", "help", "history", "junk", "scan", "status", "trash"};
  commands.insert(commands.end(), screens.begin(), screens.end());
  std::sort(commands.begin(), commands.end());
  EXPECT_EQ(json["commands"].get<std::vector<std::string>>(), commands);
  EXPECT_TRUE(result.out.starts_with("{\n  \"commands\": [\n    \"--help\","));
}

TEST(CommandLine, MisuseExitsTwoWithTheMessageOnStandardErrorAndNothingElse) {
  FakeHome home;
  const auto misuse = [](const std::string& message) {
    return "tidewarden: " + message + "\nRun 'tidewarden help' for usage.\n";
  };
  const std::vector<std::pair<std::vector<std::string>, std::string>> cases{
      {{"frobnicate"}, "tidewarden: unknown command 'frobnicate'\n" + usageText + "\n"},
      {{"history", "--limit"}, misuse("--limit needs a value")},
      {{"status", "extra"}, misuse("unexpected argument 'extra'")},
      {{"scan", "a", "b"}, misuse("unexpected argument 'b'")},
      {{"junk", "--json=1"}, misuse("unknown option '--json=1'")},
      {{"status", "-frob"}, misuse("unknown option '-frob'")},
      {{"history", "--limit", "0"}, misuse("--limit expects a number ≥ 1, got '0'")},
      {{"scan", "--top", "many"}, misuse("--top expects a number ≥ 1, got 'many'")},
      {{"scan", "--depth", "-1"}, misuse("--depth expects a number from 0 to 1000, got '-1'")},
      {{"clean"}, misuse("clean needs --safe (deletes the ✓ categories from `tidewarden junk`)")},
      {{"projects", "clean"},
       misuse("projects clean needs --selected (runs every pre-selected item; see `tidewarden projects --selected`)")},
      {{"git", "--yes"}, misuse("--yes and --dry-run only apply to `git clean --selected`")},
      {{"worktrees", "purge"}, misuse("unknown worktrees subcommand 'purge' (expected 'clean')")},
      {{"projects", "clean", "extra"}, misuse("unexpected argument 'extra'")},
      {{"trash", "list", "--yes"}, misuse("--yes and --dry-run only apply to `trash empty`")},
      {{"trash", "burn"}, misuse("unknown trash subcommand 'burn' (expected 'list' or 'empty')")},
  };
  for (const auto& [arguments, err] : cases) {
    const auto result = runTidewarden(arguments);
    EXPECT_EQ(result.code, 2) << arguments.front();
    EXPECT_EQ(result.out, "") << arguments.front();
    EXPECT_EQ(result.err, err) << arguments.front();
  }
}

// Without a display (or without the app in the build) the window cannot open, and the
// message points to the commands instead of a crash in the UI toolkit.
TEST(CommandLine, ABareStartOrADesktopArgumentMeansTheWindowedApp) {
  FakeHome home;
  const std::map<std::string, std::optional<std::string>> noDisplay{
      {"DISPLAY", std::nullopt}, {"WAYLAND_DISPLAY", std::nullopt}, {"QT_QPA_PLATFORM", std::nullopt}};
  for (const std::vector<std::string>& arguments :
       {std::vector<std::string>{}, {"-psn_0_12345"}, {"-NSDocumentRevisionsDebugMode", "YES"}, {"-AppleLanguages"}}) {
    const auto result = runTidewarden(arguments, noDisplay);
    EXPECT_EQ(result.code, 1);
    EXPECT_EQ(result.out, "");
    EXPECT_NE(result.err.find("window"), std::string::npos) << result.err;
    EXPECT_NE(result.err.find("run 'tidewarden help' for the commands"), std::string::npos) << result.err;
  }
}

TEST(Args, DashesAreStrippedShortSpellingsMapAndDoubleDashEndsOptions) {
  EXPECT_EQ(Args({"-y", "-n", "---json", "--safe"}, {"json", "safe", "dry-run", "yes"}, {}, 0).flags,
            (std::set<std::string>{"yes", "dry-run", "json", "safe"}));
  EXPECT_EQ(Args({"-", "--", "-weird-folder"}, {"json"}, {"top"}, 2).positional,
            (std::vector<std::string>{"-", "-weird-folder"}));
}

TEST(Args, OptionValuesAttachedOrFollowingAndTheLastOneWins) {
  const Args attached({"--limit=5"}, {"json"}, {"limit"}, 0);
  EXPECT_EQ(attached.options, Args({"--limit", "5"}, {"json"}, {"limit"}, 0).options);
  EXPECT_EQ(attached.number("limit", 20, 1), 5);
  // The next word is the value whatever it looks like.
  const Args dashValue({"--top", "-3", "--top=7", "--depth", "--json"}, {"json"}, {"top", "depth"}, 1);
  EXPECT_EQ(dashValue.options.at("top"), "7");
  EXPECT_EQ(dashValue.options.at("depth"), "--json");
  EXPECT_TRUE(dashValue.flags.empty());
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
}  // namespace tw::test
