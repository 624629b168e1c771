#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <vector>

#include "core/admin_batch.h"
#include "core/dev_item.h"
#include "core/history.h"
#include "core/removal_service.h"
#include "core/shell.h"
#include "support/fake_home.h"
#include "support/stand_in_tools.h"

namespace tw::test {
namespace {

using Status = ActionOutcome::Status;

// A stand-in pkexec in the fake home's tool folder, which Shell::which searches.
struct StandInPkexec {
  FakeHome home;
  std::string bin = home.folder(".local/bin");
  std::string path = writeStandInPkexec(bin);

  [[nodiscard]] bool usable() const { return Shell::which("pkexec", home.context()) == path; }
  [[nodiscard]] std::size_t calls() const { return standInCalls(path).size(); }
  [[nodiscard]] std::vector<std::string> lastArguments() const { return standInPkexecArguments(bin); }
};

#define SKIP_WITHOUT_STAND_IN(pkexec) \
  if (!(pkexec).usable()) GTEST_SKIP() << "a pkexec comes before the stand-in in the tool folders"

std::vector<Status> statuses(const std::vector<ActionOutcome>& outcomes) {
  std::vector<Status> result;
  for (const auto& outcome : outcomes) result.push_back(outcome.status);
  return result;
}

std::vector<std::string> reasons(const std::vector<ActionOutcome>& outcomes) {
  std::vector<std::string> result;
  for (const auto& outcome : outcomes) result.push_back(outcome.reason);
  return result;
}

DevItem item(const std::string& name, DevAction action, std::int64_t freeable) {
  DevItem result;
  result.id = result.name = name;
  result.freeable = freeable;
  result.action = std::move(action);
  return result;
}

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
  const auto outcomes = runAllAsAdministrator(commands, pkexec.home.context());
  EXPECT_EQ(statuses(outcomes),
            (std::vector<Status>{Status::done, Status::failed, Status::failed, Status::done, Status::failed}));
  EXPECT_EQ(reasons(outcomes), (std::vector<std::string>{"", "rm: cannot remove x", "echo failed", "", "fake end 0"}));
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
  const Context context = pkexec.home.context();
  EXPECT_EQ(statuses(runAllAsAdministrator({"touch '" + marker + "'", "true"}, context)),
            (std::vector<Status>{Status::cancelled, Status::cancelled}));
  EXPECT_FALSE(exists(marker));
  EXPECT_EQ(DevAction::admin("true").perform(context).error(), "Cancelled");
}

// pkexec's words when no agent can ask for the password: from a service, a cron job or a
// terminal-less session with no desktop agent running.
TEST(AdminBatch, WithNowhereToAskForThePasswordEveryCommandFailsSayingWhatToDo) {
  StandInPkexec pkexec;
  SKIP_WITHOUT_STAND_IN(pkexec);
  const Context context = pkexec.home.context();
  const std::string advice =
      "No password prompt could be shown. Run it again from a terminal, where pkexec asks for the password, or from "
      "a desktop session with a polkit authentication agent.";
  for (const char* words : {"Error executing command as another user: No authentication agent found.",
                            "Error creating textual authentication agent: Error opening current controlling terminal "
                            "for the process (`/dev/tty'): No such device or address"}) {
    writeFile(pkexec.path + ".words", std::string(words) + "\n");
    writeExecutable(pkexec.path, "#!/bin/sh\ncat \"$0.words\" >&2\nexit 127\n");
    const auto outcomes = runAllAsAdministrator({"true", "true"}, context);
    EXPECT_EQ(statuses(outcomes), (std::vector<Status>{Status::failed, Status::failed})) << words;
    EXPECT_EQ(reasons(outcomes), (std::vector<std::string>{advice, advice})) << words;
  }
  // Ending without a word is a failure too, never a silent "Cancelled".
  writeExecutable(pkexec.path, "#!/bin/sh\nexit 1\n");
  EXPECT_EQ(DevAction::admin("true").perform(context).error(), "pkexec ended with status 1 without saying why.");
}

TEST(AdminBatch, AStoppedRunNeverAsksForThePassword) {
  StandInPkexec pkexec;
  SKIP_WITHOUT_STAND_IN(pkexec);
  std::stop_source stop;
  stop.request_stop();
  EXPECT_EQ(statuses(runAllAsAdministrator({"true"}, pkexec.home.context().withStop(stop.get_token()))),
            (std::vector<Status>{Status::cancelled}));
  EXPECT_EQ(pkexec.calls(), 0u);
}

TEST(RemovalService, RunsOtherItemsInOrderAndEveryAdministratorCommandBehindOnePrompt) {
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
  const std::vector<DevItem> items{
      item("first", step("first"), 1),
      item("admin one", DevAction::admin("echo one >> '" + log + "'"), 10),
      item("second", step("second", "Docker isn't running"), 100),
      item("admin two", DevAction::admin("echo two >> '" + log + "'; echo 'two: no' >&2; exit 4"), 1000),
      item("third", step("third"), 10000),
  };
  std::vector<RemovalItem> removals;
  for (const auto& each : items) removals.push_back(RemovalItem::of(each));
  std::vector<std::size_t> started;
  std::atomic<std::size_t> finished{0};
  RemovalOptions options;
  options.category = "Developer";
  options.starting = [&](std::size_t index) { started.push_back(index); };
  options.finished = &finished;
  const Context context = pkexec.home.context();

  const RemovalReport report = runRemovals(context, removals, options);

  EXPECT_EQ(statuses(report.outcomes),
            (std::vector<Status>{Status::done, Status::done, Status::failed, Status::failed, Status::done}));
  EXPECT_EQ(report.outcomes[2].reason, "Docker isn't running");
  EXPECT_EQ(report.outcomes[3].reason, "two: no");
  EXPECT_EQ(report.freed, 10011) << "an administrator command frees what its item frees";
  EXPECT_EQ(ran, (std::vector<std::string>{"first", "second", "third"}));
  EXPECT_EQ(readFile(log), "one\ntwo\n");
  EXPECT_EQ(pkexec.calls(), 1u) << "one password prompt for the whole run";
  EXPECT_EQ(started, (std::vector<std::size_t>{0, 1, 3, 2, 4})) << "both commands start when the first is reached";
  EXPECT_EQ(finished.load(), 5u);
  std::vector<std::string> recorded;
  for (const auto& entry : context.history->entries()) recorded.push_back(entry.name);
  EXPECT_EQ(recorded, (std::vector<std::string>{"first", "admin one", "third"}));

  // A dismissed prompt cancels every administrator item and nothing else.
  writeFile(pkexec.path + ".deny", "");
  const RemovalReport dismissed = runRemovals(context, {removals[1], removals[4], removals[3]});
  EXPECT_EQ(statuses(dismissed.outcomes), (std::vector<Status>{Status::cancelled, Status::done, Status::cancelled}));
  EXPECT_EQ(pkexec.calls(), 2u);
}

}  // namespace
}  // namespace tw::test
