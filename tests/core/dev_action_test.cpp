#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "core/dev_item.h"
#include "core/shell.h"
#include "support/fake_home.h"

namespace tw::test {
namespace {

std::string makeExecutable(const std::string& path, const std::string& script) {
  writeFile(path, script);
  ::chmod(path.c_str(), 0755);
  return path;
}

// Makes a folder immutable for the life of the guard (root may not remove or rename
// its entries either); `ok` is false where the file system has no such flag.
class Immutable {
 public:
  explicit Immutable(std::string path) : path_(std::move(path)) {
    const auto result = runProcess({"chattr", "+i", path_});
    ok_ = result.code == 0;
    reason_ = result.err;
  }
  ~Immutable() {
    if (ok_) (void)runProcess({"chattr", "-i", path_});
  }
  Immutable(const Immutable&) = delete;
  Immutable& operator=(const Immutable&) = delete;
  [[nodiscard]] bool ok() const { return ok_; }
  [[nodiscard]] const std::string& reason() const { return reason_; }

 private:
  std::string path_;
  bool ok_ = false;
  std::string reason_;
};

}  // namespace

TEST(DevActionRemovePaths, DeletesWholeTreesAndTreatsMissingPathsAsDone) {
  FakeHome home;
  home.file("Library/Caches/app/blob/a.bin", 5000);
  home.file("Library/Caches/app/blob/nested/b.bin", 100);
  home.file("Library/Caches/other/c.bin", 100);
  const auto action = DevAction::removePaths(
      {home / "Library/Caches/gone", home / "Library/Caches/app", home / "Library/Caches/other/c.bin"});
  EXPECT_EQ(action.perform(), std::nullopt);
  EXPECT_FALSE(exists(home / "Library/Caches/app"));
  EXPECT_FALSE(exists(home / "Library/Caches/other/c.bin"));
  EXPECT_TRUE(exists(home / "Library/Caches/other"));
}

TEST(DevActionRemovePaths, StopsAtTheFirstPathTheGuardRefuses) {
  FakeHome home;
  home.file("Library/Caches/first.bin", 10);
  home.file("Library/later.bin", 10);
  home.file("Library/Caches/last.bin", 10);
  const auto action =
      DevAction::removePaths({home / "Library/Caches/first.bin", home / "Library", home / "Library/Caches/last.bin"});
  EXPECT_EQ(action.perform(), "Refused to delete " + home / "Library");
  EXPECT_FALSE(exists(home / "Library/Caches/first.bin"));
  EXPECT_TRUE(exists(home / "Library/later.bin"));
  EXPECT_TRUE(exists(home / "Library/Caches/last.bin"));
}

TEST(DevActionRemovePaths, RefusesOutsideHomeAndRepositoryRoots) {
  FakeHome home;
  const std::string outside = makeTempFolder("tw-outside");
  writeFile(outside + "/a/b/file", "x");
  home.folder("code/app/.git");
  EXPECT_EQ(DevAction::removePaths({outside + "/a/b"}).perform(), "Refused to delete " + outside + "/a/b");
  EXPECT_EQ(DevAction::removePaths({home / "code/app"}).perform(), "Refused to delete " + home / "code/app");
  EXPECT_TRUE(exists(outside + "/a/b/file"));
  EXPECT_TRUE(exists(home / "code/app/.git"));
  removeTree(outside);
}

TEST(DevActionRemovePaths, RemovesALinkAndLeavesItsTarget) {
  FakeHome home;
  const std::string outside = makeTempFolder("tw-outside");
  writeFile(outside + "/precious/file", "keep");
  home.folder("Library/Caches");
  ASSERT_EQ(::symlink((outside + "/precious").c_str(), (home / "Library/Caches/link").c_str()), 0);
  EXPECT_EQ(DevAction::removePaths({home / "Library/Caches/link"}).perform(), std::nullopt);
  EXPECT_FALSE(exists(home / "Library/Caches/link"));
  EXPECT_EQ(readFile(outside + "/precious/file"), "keep");
  // Through the link the same folder is outside home, so it is refused.
  ASSERT_EQ(::symlink((outside + "/precious").c_str(), (home / "Library/Caches/link").c_str()), 0);
  EXPECT_NE(DevAction::removePaths({home / "Library/Caches/link/file"}).perform(), std::nullopt);
  EXPECT_EQ(readFile(outside + "/precious/file"), "keep");
  removeTree(outside);
}

TEST(DevActionRemovePaths, ReportsTheSystemReasonWhenDeletionFails) {
  FakeHome home;
  home.file("Library/Caches/stuck/inner/file.bin", 10);
  Immutable lock(home / "Library/Caches/stuck/inner");
  if (!lock.ok()) GTEST_SKIP() << "can't make a folder immutable here: " << lock.reason();
  EXPECT_EQ(DevAction::removePaths({home / "Library/Caches/stuck"}).perform(),
            "Couldn't delete stuck: Operation not permitted");
}

TEST(DevActionTrash, MovesEachPathToTheTrashAndSkipsMissingOnes) {
  FakeHome home;
  const auto first = home.fileWithContents("Downloads/one.zip", "1");
  const auto second = home.fileWithContents("Downloads/two.zip", "2");
  EXPECT_EQ(DevAction::trash({first, home / "Downloads/gone.zip", second}).perform(), std::nullopt);
  EXPECT_FALSE(exists(first));
  EXPECT_FALSE(exists(second));
  EXPECT_EQ(readFile(home / ".local/share/Trash/files/two.zip"), "2");
}

TEST(DevActionTrash, NamesTheItemThatCouldNotBeMoved) {
  FakeHome home;
  const auto file = home.fileWithContents("Downloads/locked/keep.txt", "k");
  Immutable lock(home / "Downloads/locked");
  if (!lock.ok()) GTEST_SKIP() << "can't make a folder immutable here: " << lock.reason();
  EXPECT_EQ(DevAction::trash({file}).perform(), "Couldn't move keep.txt to the Trash");
  EXPECT_TRUE(exists(file));
}

TEST(DevActionCommands, RunsInOrderAndStopsAtTheFirstFailureWithItsErrorText) {
  FakeHome home;
  const auto log = home / "log.txt";
  const auto action = DevAction::commands({
      {"/bin/sh", "-c", "echo first >> \"$0\"", log},
      {},
      {"/bin/sh", "-c", "echo second >> \"$0\"; echo '  cache is locked  ' >&2; exit 4", log},
      {"/bin/sh", "-c", "echo third >> \"$0\"", log},
  });
  EXPECT_EQ(action.perform(), "cache is locked");
  EXPECT_EQ(readFile(log), "first\nsecond\n");
}

TEST(DevActionCommands, SilentFailureIsNamedByTheProgram) {
  FakeHome home;
  EXPECT_EQ(DevAction::commands({{"/usr/bin/false"}}).perform(), "false failed");
  EXPECT_EQ(DevAction::commands({{"/bin/true"}, {"/bin/sh", "-c", "exit 0"}}).perform(), std::nullopt);
  const auto missing = DevAction::commands({{home / "bin/nothing"}}).perform();
  ASSERT_TRUE(missing.has_value());
  EXPECT_NE(missing->find("No such file"), std::string::npos) << *missing;
}

TEST(DevActionCustom, ReturnsWhatTheFunctionReturns) {
  int calls = 0;
  EXPECT_EQ(DevAction::custom([&]() -> std::optional<std::string> {
              ++calls;
              return "Docker isn't running";
            }).perform(),
            "Docker isn't running");
  EXPECT_EQ(DevAction::custom([&] { return std::optional<std::string>{}; }).perform(), std::nullopt);
  EXPECT_EQ(calls, 1);
}

TEST(DevActionAdmin, WithoutPkexecSaysWhatIsMissing) {
  FakeHome home;
  if (Shell::which("pkexec")) GTEST_SKIP() << "pkexec is installed here";
  EXPECT_EQ(DevAction::admin("rm -rf /Library/Caches/x").perform(),
            "Administrator actions need pkexec (policykit), which isn't installed.");
}

TEST(DevActionAdmin, RunsTheCommandThroughPkexecAndShell) {
  FakeHome home;
  if (Shell::which("pkexec") && *Shell::which("pkexec") != home / ".local/bin/pkexec") {
    GTEST_SKIP() << "a real pkexec comes before the stand-in";
  }
  // A stand-in that records how it was called and runs the command without a prompt.
  makeExecutable(home / ".local/bin/pkexec",
                 "#!/bin/sh\nprintf '%s\\n' \"$@\" > \"$HOME/pkexec-args\"\n"
                 "[ -e \"$HOME/deny\" ] && exit 126\nexec \"$@\"\n");
  const auto target = home.fileWithContents("system/it's \"quoted\".txt", "x");
  EXPECT_EQ(DevAction::admin("rm -f \"$HOME/system/it's \\\"quoted\\\".txt\"").perform(), std::nullopt);
  EXPECT_FALSE(exists(target));
  EXPECT_EQ(readFile(home / "pkexec-args"), "/bin/sh\n-c\nrm -f \"$HOME/system/it's \\\"quoted\\\".txt\"\n");

  EXPECT_EQ(DevAction::admin("echo 'rm: cannot remove x' >&2; exit 1").perform(), "rm: cannot remove x");
  writeFile(home / "deny", "");
  EXPECT_EQ(DevAction::admin("true").perform(), "Cancelled");
}

}  // namespace tw::test
