#include <gtest/gtest.h>

#include <fcntl.h>
#include <pty.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include "cli/cli.h"
#include "support/fake_home.h"
#include "support/programs.h"

extern char** environ;

namespace tw::test {
namespace {

struct TerminalRun {
  std::string out;
  std::string terminal;  // what the program wrote to standard error, a terminal
};

std::string readAll(int fd) {
  std::string data;
  char buffer[4096];
  for (ssize_t count; (count = ::read(fd, buffer, sizeof buffer)) > 0;) data.append(buffer, count);
  return data;
}

// Runs tidewarden with standard error on a pseudo-terminal and standard output on a pipe.
TerminalRun runWithTerminalStandardError(std::vector<std::string> arguments) {
  int controller = -1, terminal = -1;
  EXPECT_EQ(::openpty(&controller, &terminal, nullptr, nullptr, nullptr), 0);
  int out[2];
  EXPECT_EQ(::pipe(out), 0);
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, out[1], 1);
  posix_spawn_file_actions_adddup2(&actions, terminal, 2);
  posix_spawn_file_actions_addclose(&actions, controller);
  arguments.insert(arguments.begin(), test::tidewardenBinary());
  std::vector<char*> argv;
  for (auto& argument : arguments) argv.push_back(argument.data());
  argv.push_back(nullptr);
  pid_t pid = 0;
  EXPECT_EQ(::posix_spawn(&pid, argv[0], &actions, nullptr, argv.data(), environ), 0);
  posix_spawn_file_actions_destroy(&actions);
  ::close(out[1]);
  ::close(terminal);
  TerminalRun run;
  run.out = readAll(out[0]);
  int status = 0;
  ::waitpid(pid, &status, 0);
  run.terminal = readAll(controller);  // EIO once the child has gone ends the read
  ::close(out[0]);
  ::close(controller);
  return run;
}

class Spinner : public ::testing::Test {
 protected:
  FakeHome home;
  ScopedEnvironment sampleData{"TIDEWARDEN_SNAPSHOT", "1"};
};

TEST_F(Spinner, OnATerminalItShowsTheMessageAndErasesItsLineBeforeTheResultButNeverWithJson) {
  const auto run = runWithTerminalStandardError({"projects"});
  EXPECT_NE(run.terminal.find("\r\x1b[K⠋ Loading Projects"), std::string::npos) << run.terminal;
  EXPECT_TRUE(run.terminal.ends_with("\r\x1b[K")) << run.terminal;
  EXPECT_TRUE(run.out.starts_with("Projects")) << run.out;

  const auto json = runWithTerminalStandardError({"projects", "--json"});
  EXPECT_EQ(json.terminal, "");
  EXPECT_TRUE(nlohmann::json::accept(json.out)) << json.out;
}

TEST_F(Spinner, RedirectedStandardErrorGetsNoFramesAndNoEraseSequences) {
  const auto run = runTidewarden({"projects"});
  EXPECT_EQ(run.code, 0);
  EXPECT_EQ(run.err, "");
}

TEST(SpinnerLine, AHundredCharactersShowWholeAndLongerLinesAreCut) {
  const std::string ninetyEight(98, 'm');
  const auto whole = CLI::spinnerLine(0, ninetyEight, nullptr);
  EXPECT_EQ(whole, "⠋ " + ninetyEight);
  const auto cut = CLI::spinnerLine(11, ninetyEight, [] { return std::string("x"); });
  EXPECT_EQ(cut, "⠙ " + std::string(97, 'm') + "…");
}

}  // namespace
}  // namespace tw::test
