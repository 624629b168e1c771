#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>

#include <chrono>
#include <cstdlib>
#include <thread>

#include "core/shell.h"
#include "support/fake_home.h"

namespace tw::test {
namespace {

using Clock = std::chrono::steady_clock;

double secondsSince(Clock::time_point start) { return std::chrono::duration<double>(Clock::now() - start).count(); }

std::string makeExecutable(const std::string& path, const std::string& script) {
  writeFile(path, script);
  ::chmod(path.c_str(), 0755);
  return path;
}

// Puts PATH back as it was, so later tests in the same process see the usual one.
class SavedPath {
 public:
  SavedPath() {
    if (const char* value = std::getenv("PATH")) saved_ = value;
  }
  ~SavedPath() {
    if (saved_) {
      ::setenv("PATH", saved_->c_str(), 1);
    } else {
      ::unsetenv("PATH");
    }
  }

 private:
  std::optional<std::string> saved_;
};

bool hasChildren() {
  int status = 0;
  return !(::waitpid(-1, &status, WNOHANG) < 0 && errno == ECHILD);
}

}  // namespace

TEST(ShellRun, ChildWritingAMebibyteToBothStreamsFinishesWithAllOfIt) {
  FakeHome home;
  // Interleaved writes: a reader that drains one pipe at a time would deadlock here.
  const auto result = Shell::run("/bin/sh",
                                 {"-c",
                                  "i=0; while [ $i -lt 16 ]; do head -c 65536 /dev/zero | tr '\\0' o; "
                                  "head -c 65536 /dev/zero | tr '\\0' e >&2; i=$((i+1)); done; exit 3"},
                                 60);
  EXPECT_EQ(result.code, 3);
  EXPECT_EQ(result.out, std::string(1 << 20, 'o'));
  EXPECT_EQ(result.err, std::string(1 << 20, 'e'));
}

TEST(ShellRun, TimedOutChildIsAskedToTerminateAndKeepsItsOutput) {
  FakeHome home;
  const auto start = Clock::now();
  // The trap only runs if the signal is SIGTERM (a SIGKILL could not be caught).
  const auto result = Shell::run("/bin/sh",
                                 {"-c",
                                  "trap 'echo got TERM; exit 9' TERM; echo started; echo warming >&2; "
                                  "sleep 30 >/dev/null 2>&1 & wait"},
                                 1.0);
  const double elapsed = secondsSince(start);
  EXPECT_EQ(result.out, "started\ngot TERM\n");
  EXPECT_EQ(result.err, "warming\n");
  EXPECT_EQ(result.code, 9);
  EXPECT_GE(elapsed, 0.9);
  EXPECT_LT(elapsed, 10.0);
  EXPECT_FALSE(hasChildren()) << "the terminated child was not reaped";
}

TEST(ShellRun, ChildKilledByTheTimeoutReportsTheSignal) {
  FakeHome home;
  const auto result = Shell::run("/bin/sleep", {"30"}, 0.3);
  EXPECT_EQ(result.code, SIGTERM);
  EXPECT_FALSE(hasChildren());
}

TEST(ShellRun, BackgroundProcessHoldingThePipesDoesNotHoldUpATimedOutRun) {
  FakeHome home;
  const auto start = Clock::now();
  // `sleep` inherits the pipes and outlives the shell, so the streams never end on their own.
  const auto result = Shell::run("/bin/sh", {"-c", "echo before; sleep 20 & wait"}, 0.5);
  EXPECT_LT(secondsSince(start), 8.0);
  EXPECT_EQ(result.out, "before\n");
  EXPECT_EQ(result.code, SIGTERM);
}

TEST(ShellRun, ChildThatClosesItsStreamsIsStillStoppedAtTheTimeout) {
  FakeHome home;
  const auto start = Clock::now();
  const auto result = Shell::run("/bin/sh", {"-c", "exec >/dev/null 2>&1; exec sleep 30"}, 0.5);
  EXPECT_LT(secondsSince(start), 8.0);
  EXPECT_EQ(result.code, SIGTERM);
  EXPECT_FALSE(hasChildren());
}

TEST(ShellRun, MissingExecutableFailsToLaunchWithAReason) {
  FakeHome home;
  const auto result = Shell::run(home / "no-such-tool", {"--version"}, 10);
  EXPECT_EQ(result.code, -1);
  EXPECT_EQ(result.out, "");
  EXPECT_NE(result.err.find("No such file"), std::string::npos) << result.err;
  EXPECT_FALSE(hasChildren());
}

TEST(ShellRun, FileWithoutExecutePermissionFailsToLaunch) {
  FakeHome home;
  const auto script = home.fileWithContents("tool.sh", "#!/bin/sh\necho hi\n");
  ::chmod(script.c_str(), 0644);
  const auto result = Shell::run(script, {}, 10);
  EXPECT_EQ(result.code, -1);
  EXPECT_FALSE(result.err.empty());
}

TEST(ShellRun, ChildGetsToolFoldersThenInheritedPathAndNoGitPrompts) {
  FakeHome home;
  SavedPath savedPath;
  ::setenv("PATH", "/custom/bin:/usr/bin", 1);
  const auto result = Shell::run("/bin/sh", {"-c", "printf '%s|%s' \"$PATH\" \"$GIT_TERMINAL_PROMPT\""}, 10);
  EXPECT_EQ(result.out, "/opt/homebrew/bin:/usr/local/bin:" + home.path() + "/.cargo/bin:" + home.path() +
                            "/.local/bin:/usr/bin:/bin:/custom/bin:/usr/bin|0");
}

TEST(ShellRun, WithoutPathInTheEnvironmentTheChildPathEndsInAnEmptyElement) {
  FakeHome home;
  SavedPath savedPath;
  ::unsetenv("PATH");
  ::setenv("GIT_TERMINAL_PROMPT", "1", 1);
  const auto result = Shell::run("/usr/bin/env", {}, 10);
  const std::string expected = "PATH=/opt/homebrew/bin:/usr/local/bin:" + home.path() + "/.cargo/bin:" + home.path() +
                               "/.local/bin:/usr/bin:/bin:\n";
  EXPECT_NE(result.out.find(expected), std::string::npos) << result.out;
  EXPECT_NE(result.out.find("GIT_TERMINAL_PROMPT=0\n"), std::string::npos);
  EXPECT_EQ(result.out.find("GIT_TERMINAL_PROMPT=1"), std::string::npos);
  EXPECT_NE(result.out.find("HOME=" + home.path() + "\n"), std::string::npos) << "the rest is inherited";
}

TEST(ShellRun, StandardInputIsTheNullDevice) {
  FakeHome home;
  const auto result = Shell::run("/bin/sh", {"-c", "cat; readlink /proc/self/fd/0"}, 10);
  EXPECT_EQ(result.code, 0);
  EXPECT_EQ(result.out, "/dev/null\n");
}

TEST(ShellRun, OnlyTheThreeStandardDescriptorsReachTheChild) {
  FakeHome home;
  // A descriptor opened without close-on-exec must still not leak into the tool.
  const int leaky = ::open("/dev/null", O_RDONLY);
  ASSERT_GE(leaky, 3);
  const auto result = Shell::run("/bin/ls", {"/proc/self/fd"}, 10);
  ::close(leaky);
  // The fourth is the one ls opens to read the listing.
  EXPECT_EQ(result.out, "0\n1\n2\n3\n");
}

TEST(ShellRun, InvalidUtf8IsReplacedNotDropped) {
  FakeHome home;
  const auto result = Shell::run("/usr/bin/printf", {"a\\377b\\n"}, 10);
  EXPECT_EQ(result.out,
            "a\xEF\xBF\xBD"
            "b\n");
}

TEST(ShellRun, ManyRunsAtOnceEachGetTheirOwnOutput) {
  FakeHome home;
  std::vector<Shell::Result> results(8);
  std::vector<std::thread> threads;
  for (std::size_t i = 0; i < results.size(); ++i) {
    threads.emplace_back([&, i] { results[i] = Shell::run("/bin/sh", {"-c", "echo " + std::to_string(i)}, 30); });
  }
  for (auto& thread : threads) thread.join();
  for (std::size_t i = 0; i < results.size(); ++i) EXPECT_EQ(results[i].out, std::to_string(i) + "\n");
  EXPECT_FALSE(hasChildren());
}

TEST(ShellWhich, SearchesTheFixedFoldersInOrderAndIgnoresPath) {
  FakeHome home;
  const auto local = makeExecutable(home / ".local/bin/tw-probe", "#!/bin/sh\n");
  EXPECT_EQ(Shell::which("tw-probe"), local);
  const auto cargo = makeExecutable(home / ".cargo/bin/tw-probe", "#!/bin/sh\n");
  EXPECT_EQ(Shell::which("tw-probe"), cargo) << "~/.cargo/bin comes before ~/.local/bin";

  makeExecutable(home / "elsewhere/tw-elsewhere", "#!/bin/sh\n");
  SavedPath savedPath;
  ::setenv("PATH", (home / "elsewhere").c_str(), 1);
  EXPECT_EQ(Shell::which("tw-elsewhere"), std::nullopt);
  EXPECT_EQ(Shell::which("sh"), "/usr/bin/sh");
}

TEST(ShellWhich, SkipsFilesThatAreNotExecutableAndFolders) {
  FakeHome home;
  writeFile(home / ".cargo/bin/tw-probe", "#!/bin/sh\n");  // not executable
  makeFolders(home / ".local/bin/tw-probe/");
  EXPECT_EQ(Shell::which("tw-probe"), std::nullopt);
  EXPECT_EQ(Shell::which("../bin/sh"), std::nullopt);
  EXPECT_EQ(Shell::which(""), std::nullopt);
}

TEST(ShellWhich, LinuxGitInUsrBinIsRealNotAnInstallerStub) {
  FakeHome home;
  EXPECT_FALSE(Shell::hasDeveloperTools());
  struct stat info {};
  if (::stat("/usr/bin/git", &info) != 0) GTEST_SKIP() << "git is not installed in /usr/bin";
  EXPECT_EQ(Shell::which("git"), "/usr/bin/git");
  const auto result = Shell::run(*Shell::which("git"), {"--version"}, 30);
  EXPECT_EQ(result.code, 0);
  EXPECT_TRUE(result.out.starts_with("git version")) << result.out;
}

}  // namespace tw::test
