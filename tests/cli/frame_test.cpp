#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "support/fake_home.h"

namespace tw::test {
namespace {

const std::string usageText =
    "Tidewarden: disk cleanup for developers.\n\nusage: tidewarden <command> [options]\n\n"
    "  status                            Disk total, used, free and purgeable space\n"
    "  scan [path] [--top N] [--depth D] Largest items in a folder (default ~, top 20, depth 1)\n"
    "  junk [--items]                    Smart Clean categories and their sizes\n"
    "  clean --safe [--dry-run] [--yes]  Delete caches, logs, Xcode and package leftovers (never the Trash)\n"
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

class CommandLine : public ::testing::Test {
 protected:
  FakeHome home;
};

TEST_F(CommandLine, HelpPrintsTheUsageTextExactlyAndSucceeds) {
  for (const char* word : {"help", "--help", "-h"}) {
    const auto result = runTidewarden({word});
    EXPECT_EQ(result.code, 0);
    EXPECT_EQ(result.out, usageText + "\n");
    EXPECT_EQ(result.err, "");
  }
}

TEST_F(CommandLine, HelpJsonListsEveryCommandAndTheTwelveScreensSorted) {
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

TEST_F(CommandLine, UnknownCommandExitsTwoWithUsageOnStandardError) {
  const auto result = runTidewarden({"frobnicate"});
  EXPECT_EQ(result.code, 2);
  EXPECT_EQ(result.out, "");
  EXPECT_EQ(result.err, "tidewarden: unknown command 'frobnicate'\n" + usageText + "\n");
}

TEST_F(CommandLine, MisuseExitsTwoWithTheMessageAndTheHelpHint) {
  const std::vector<std::pair<std::vector<std::string>, std::string>> cases{
      {{"history", "--limit"}, "--limit needs a value"},
      {{"status", "extra"}, "unexpected argument 'extra'"},
      {{"junk", "--json=1"}, "unknown option '--json=1'"},
      {{"history", "--limit", "0"}, "--limit expects a number ≥ 1, got '0'"},
      {{"clean"}, "clean needs --safe (deletes the ✓ categories from `tidewarden junk`)"},
      {{"projects", "clean"},
       "projects clean needs --selected (runs every pre-selected item; see `tidewarden projects --selected`)"},
      {{"git", "--yes"}, "--yes and --dry-run only apply to `git clean --selected`"},
      {{"worktrees", "purge"}, "unknown worktrees subcommand 'purge' (expected 'clean')"},
      {{"projects", "clean", "extra"}, "unexpected argument 'extra'"},
      {{"trash", "list", "--yes"}, "--yes and --dry-run only apply to `trash empty`"},
      {{"trash", "burn"}, "unknown trash subcommand 'burn' (expected 'list' or 'empty')"},
  };
  for (const auto& [arguments, message] : cases) {
    const auto result = runTidewarden(arguments);
    EXPECT_EQ(result.code, 2) << arguments.front();
    EXPECT_EQ(result.out, "") << arguments.front();
    EXPECT_EQ(result.err, "tidewarden: " + message + "\nRun 'tidewarden help' for usage.\n") << arguments.front();
  }
}

TEST_F(CommandLine, ABareStartOrADesktopArgumentMeansTheWindowedApp) {
  for (const std::vector<std::string>& arguments :
       {std::vector<std::string>{}, {"-psn_0_12345"}, {"-NSDocumentRevisionsDebugMode", "YES"}, {"-AppleLanguages"}}) {
    const auto result = runTidewarden(arguments);
    EXPECT_EQ(result.code, 1);
    EXPECT_EQ(result.out, "");
    EXPECT_NE(result.err.find("windowed app is not in this build"), std::string::npos);
  }
}

}  // namespace
}  // namespace tw::test
