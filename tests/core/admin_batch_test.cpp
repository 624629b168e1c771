#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "core/admin_batch.h"
#include "core/dev_item.h"
#include "core/perform_in_order.h"
#include "core/shell.h"
#include "support/fake_home.h"
#include "support/stand_in_tools.h"

namespace tw::test {
namespace {

// A stand-in pkexec in the fake home's tool folder, which Shell::which searches.
struct StandInPkexec {
  FakeHome home;
  std::string bin = home.folder(".local/bin");
  std::string path = writeStandInPkexec(bin);

  [[nodiscard]] bool usable() const { return Shell::which("pkexec") == path; }
  [[nodiscard]] std::size_t calls() const { return standInCalls(path).size(); }
  [[nodiscard]] std::vector<std::string> lastArguments() const { return standInPkexecArguments(bin); }
};

#define SKIP_WITHOUT_STAND_IN(pkexec) \
  if (!(pkexec).usable()) GTEST_SKIP() << "a pkexec comes before the stand-in in the tool folders"

TEST(AdminBatch, RunsEveryCommandInOnePrivilegedCallAndReportsEachOutcome) {
  StandInPkexec pkexec;
  SKIP_WITHOUT_STAND_IN(pkexec);
  const auto target = pkexec.home.fileWithContents("system/it's \"quoted\".txt", "x");
  const std::vector<std::string> commands{
      "rm -f \"$HOME/system/it's \\\"quoted\\\".txt\"",
      "echo 'rm: cannot remove x' >&2; exit 1",
      "echo this goes nowhere; false",
      "exit 0",  // ends its own subshell only
      "echo 'fake end 0' >&2; exit 3",
  };
  const auto outcomes = runAllAsAdministrator(commands);
  EXPECT_EQ(outcomes, (std::vector<std::optional<std::string>>{std::nullopt, "rm: cannot remove x", "echo failed",
                                                               std::nullopt, "fake end 0"}));
  EXPECT_FALSE(exists(target));
  EXPECT_EQ(pkexec.calls(), 1u);

  // pkexec runs the shell, and the commands reach it as arguments of their own, unchanged.
  const auto words = pkexec.lastArguments();
  ASSERT_EQ(words.size(), 5 + commands.size());
  EXPECT_EQ(words[0], "/bin/sh");
  EXPECT_EQ(words[1], "-c");
  EXPECT_EQ(std::vector<std::string>(words.begin() + 5, words.end()), commands);
}

TEST(AdminBatch, ADismissedPromptCancelsEveryCommandAndRunsNone) {
  StandInPkexec pkexec;
  SKIP_WITHOUT_STAND_IN(pkexec);
  writeFile(pkexec.path + ".deny", "");
  const auto marker = pkexec.home / "ran";
  EXPECT_EQ(runAllAsAdministrator({"touch '" + marker + "'", "true"}),
            (std::vector<std::optional<std::string>>{"Cancelled", "Cancelled"}));
  EXPECT_FALSE(exists(marker));
  EXPECT_EQ(DevAction::admin("true").perform(), "Cancelled");
}

TEST(PerformInOrder, RunsOtherActionsInOrderAndAllAdministratorCommandsBehindOnePrompt) {
  StandInPkexec pkexec;
  SKIP_WITHOUT_STAND_IN(pkexec);
  std::vector<std::string> ran;
  const auto step = [&ran](std::string name, std::optional<std::string> error = std::nullopt) {
    return DevAction::custom([&ran, name, error] {
      ran.push_back(name);
      return error;
    });
  };
  const auto log = pkexec.home / "admin.log";
  const std::vector<DevAction> actions{
      step("first"),
      DevAction::admin("echo one >> '" + log + "'"),
      step("second", "Docker isn't running"),
      DevAction::admin("echo two >> '" + log + "'; echo 'two: no' >&2; exit 4"),
      step("third"),
  };
  std::vector<std::size_t> counts;
  const auto errors = performInOrder(actions, [&](std::size_t count) { counts.push_back(count); });

  EXPECT_EQ(errors, (std::vector<std::optional<std::string>>{std::nullopt, std::nullopt, "Docker isn't running",
                                                             "two: no", std::nullopt}));
  EXPECT_EQ(ran, (std::vector<std::string>{"first", "second", "third"}));
  EXPECT_EQ(readFile(log), "one\ntwo\n");
  EXPECT_EQ(pkexec.calls(), 1u) << "one password prompt for the whole run";
  EXPECT_EQ(counts, (std::vector<std::size_t>{1, 2, 3, 4, 5}));
}

}  // namespace
}  // namespace tw::test
