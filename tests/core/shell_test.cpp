#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <chrono>
#include <cstdlib>
#include <thread>
#include <utility>

#include "core/shell.h"
#include "support/fake_home.h"
#include "support/scoped_environment.h"

namespace tw::test {
namespace {

using Clock = std::chrono::steady_clock;

double secondsSince(Clock::time_point start) { return std::chrono::duration<double>(Clock::now() - start).count(); }

// PATH set (or unset, for nothing) while it lives, then put back for later tests.
struct ScopedPath : test::ScopedEnvironment {
  explicit ScopedPath(const std::optional<std::string>& value) : ScopedEnvironment({{"PATH", value}}) {}
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
                                 60, home.context());
  EXPECT_EQ(result.code, 3);
  EXPECT_EQ(result.out, std::string(1 << 20, 'o'));
  EXPECT_EQ(result.err, std::string(1 << 20, 'e'));
}

TEST(ShellRun, TimedOutChildIsAskedToTerminateSoonAfterwardsKeepingItsOutputAndIsReaped) {
  FakeHome home;
  struct Case {
    std::string script;
    double timeout;
    std::string out;
    int code;
  };
  const std::vector<Case> cases{
      // The trap only runs if the signal is SIGTERM (a SIGKILL could not be caught).
      {"trap 'echo got TERM; exit 9' TERM; echo started; echo warming >&2; sleep 30 >/dev/null 2>&1 & wait", 1.0,
       "started\ngot TERM\n", 9},
      {"exec sleep 30", 0.3, "", SIGTERM},
      // `sleep` inherits the pipes and outlives the shell, so the streams never end on their own.
      {"echo before; sleep 20 & wait", 0.5, "before\n", SIGTERM},
      {"exec >/dev/null 2>&1; exec sleep 30", 0.5, "", SIGTERM},
  };
  for (const auto& [script, timeout, out, code] : cases) {
    const auto start = Clock::now();
    const auto result = Shell::run("/bin/sh", {"-c", script}, timeout, home.context());
    const double elapsed = secondsSince(start);
    EXPECT_EQ(result.out, out) << script;
    EXPECT_EQ(result.code, code) << script;
    EXPECT_GE(elapsed, timeout * 0.9) << script;
    EXPECT_LT(elapsed, timeout + 7) << script;
    EXPECT_FALSE(hasChildren()) << "the terminated child was not reaped: " << script;
  }
}

TEST(ShellRun, AStopRequestEndsTheChildAsItsTimeOutWouldKeepingItsOutput) {
  FakeHome home;
  std::stop_source stop;
  const Context context = home.context().withStop(stop.get_token());
  std::thread stopper([&] {
    std::this_thread::sleep_for(std::chrono::milliseconds(300));
    stop.request_stop();
  });
  const auto start = Clock::now();
  const auto result = Shell::run("/bin/sh", {"-c", "echo started; exec sleep 30"}, 60, context);
  stopper.join();
  EXPECT_EQ(result.code, SIGTERM);
  EXPECT_EQ(result.out, "started\n");
  EXPECT_LT(secondsSince(start), 10);
  EXPECT_FALSE(hasChildren());

  // Already stopped: the tool is ended at once.
  const auto late = Shell::run("/bin/sh", {"-c", "exec sleep 30"}, 60, context);
  EXPECT_EQ(late.code, SIGTERM);
}

TEST(ShellRun, ProgramsThatCannotStartFailToLaunchWithAReason) {
  FakeHome home;
  const auto script = home.fileWithContents("tool.sh", "#!/bin/sh\necho hi\n");  // not executable
  for (const auto& program : {home / "no-such-tool", script}) {
    const auto result = Shell::run(program, {"--version"}, 10, home.context());
    EXPECT_EQ(result.code, -1) << program;
    EXPECT_EQ(result.out, "") << program;
    EXPECT_FALSE(result.err.empty()) << program;
  }
  EXPECT_NE(Shell::run(home / "no-such-tool", {}, 10, home.context()).err.find("No such file"), std::string::npos);
  EXPECT_FALSE(hasChildren());
}

TEST(ShellRun, ChildPathIsTheToolFoldersThenTheInheritedOneAndGitNeverPrompts) {
  FakeHome home;
  const std::string tools =
      "/opt/homebrew/bin:/usr/local/bin:" + home.path() + "/.cargo/bin:" + home.path() +
      "/.local/bin:/usr/bin:/bin:/usr/sbin:/snap/bin:/home/linuxbrew/.linuxbrew/bin:" + home.path() +
      "/.linuxbrew/bin:" + home.path() + "/.nix-profile/bin:/nix/var/nix/profiles/default/bin:" + home.path() +
      "/go/bin:";
  {
    ScopedPath path("/custom/bin:/usr/bin");
    const auto result =
        Shell::run("/bin/sh", {"-c", "printf '%s|%s' \"$PATH\" \"$GIT_TERMINAL_PROMPT\""}, 10, home.context());
    EXPECT_EQ(result.out, tools + "/custom/bin:/usr/bin|0");
  }
  // Without PATH the list ends in an empty element.
  ScopedEnvironment environment({{"PATH", std::nullopt}, {"GIT_TERMINAL_PROMPT", "1"}});
  const auto result = Shell::run("/usr/bin/env", {}, 10, home.context());
  EXPECT_NE(result.out.find("PATH=" + tools + "\n"), std::string::npos) << result.out;
  EXPECT_NE(result.out.find("GIT_TERMINAL_PROMPT=0\n"), std::string::npos);
  EXPECT_EQ(result.out.find("GIT_TERMINAL_PROMPT=1"), std::string::npos);
  EXPECT_NE(result.out.find("HOME=" + home.path() + "\n"), std::string::npos) << "the rest is inherited";
}

TEST(ShellRun, ChildGetsTheNullDeviceOnlyTheStandardDescriptorsAndReadableText) {
  FakeHome home;
  // A descriptor opened without close-on-exec must still not leak into the tool.
  const int leaky = ::open("/dev/null", O_RDONLY);
  ASSERT_GE(leaky, 3);
  const std::vector<std::tuple<std::string, std::vector<std::string>, std::string>> cases{
      {"/bin/sh", {"-c", "cat; readlink /proc/self/fd/0"}, "/dev/null\n"},
      {"/bin/ls", {"/proc/self/fd"}, "0\n1\n2\n3\n"},  // the fourth is the one ls reads the listing with
      {"/usr/bin/printf",
       {"a\\377b\\n"},
       "a\xEF\xBF\xBD"
       "b\n"},  // invalid UTF-8 is replaced, not dropped
  };
  for (const auto& [program, arguments, out] : cases) {
    const auto result = Shell::run(program, arguments, 10, home.context());
    EXPECT_EQ(result.code, 0) << program;
    EXPECT_EQ(result.out, out) << program;
  }
  ::close(leaky);
}

TEST(ShellRun, ManyRunsAtOnceEachGetTheirOwnOutput) {
  FakeHome home;
  std::vector<Shell::Result> results(8);
  std::vector<std::thread> threads;
  const Context context = home.context();
  for (std::size_t i = 0; i < results.size(); ++i) {
    threads.emplace_back([&, i] {
      results[i] = Shell::run("/bin/sh", {"-c", "echo " + std::to_string(i)}, 30, context);
    });
  }
  for (auto& thread : threads) thread.join();
  for (std::size_t i = 0; i < results.size(); ++i) EXPECT_EQ(results[i].out, std::to_string(i) + "\n");
  EXPECT_FALSE(hasChildren());
}

TEST(ShellWhich, SearchesTheFixedFoldersInOrderForExecutableFilesAndIgnoresPath) {
  FakeHome home;
  writeFile(home / ".cargo/bin/tw-probe", "#!/bin/sh\n");  // not executable
  makeFolders(home / ".local/bin/tw-probe/");
  EXPECT_EQ(Shell::which("tw-probe", home.context()), std::nullopt);
  removeTree(home / ".cargo/bin/tw-probe");
  removeTree(home / ".local/bin/tw-probe");
  const auto local = writeExecutable(home / ".local/bin/tw-probe", "#!/bin/sh\n");
  EXPECT_EQ(Shell::which("tw-probe", home.context()), local);
  const auto cargo = writeExecutable(home / ".cargo/bin/tw-probe", "#!/bin/sh\n");
  EXPECT_EQ(Shell::which("tw-probe", home.context()), cargo) << "~/.cargo/bin comes before ~/.local/bin";

  writeExecutable(home / "elsewhere/tw-elsewhere", "#!/bin/sh\n");
  ScopedPath path(home / "elsewhere");
  EXPECT_EQ(Shell::which("tw-elsewhere", home.context()), std::nullopt);
  EXPECT_EQ(Shell::which("sh", home.context()), "/usr/bin/sh");
  // On Linux the git in /usr/bin is the real one, never an installer stub.
  EXPECT_FALSE(Shell::hasDeveloperTools(home.context()));
  EXPECT_EQ(Shell::which("git", home.context()), "/usr/bin/git");
  EXPECT_EQ(Shell::which("../bin/sh", home.context()), std::nullopt);
  EXPECT_EQ(Shell::which("", home.context()), std::nullopt);
}

TEST(ShellWhich, FindsToolsWhereLinuxPackageManagersPutThemAfterTheSharedFolders) {
  FakeHome home;
  for (const auto& [folder, name] : {std::pair{".nix-profile/bin", "tw-probe-nix"},
                                     {"go/bin", "tw-probe-go"},
                                     {".linuxbrew/bin", "tw-probe-brew"}}) {
    const auto path = writeExecutable(home / (std::string(folder) + "/" + name), "#!/bin/sh\n");
    EXPECT_EQ(Shell::which(name, home.context()), path) << folder;
  }
  writeExecutable(home / "go/bin/tw-probe", "#!/bin/sh\n");
  const auto local = writeExecutable(home / ".local/bin/tw-probe", "#!/bin/sh\n");
  EXPECT_EQ(Shell::which("tw-probe", home.context()), local) << "the shared folders come first";
  // Administrator tools live in /usr/sbin only.
  if (!exists("/usr/sbin/mkfs.ext4") || exists("/usr/bin/mkfs.ext4")) GTEST_SKIP() << "no tool only in /usr/sbin here";
  EXPECT_EQ(Shell::which("mkfs.ext4", home.context()), "/usr/sbin/mkfs.ext4");
}

}  // namespace tw::test
