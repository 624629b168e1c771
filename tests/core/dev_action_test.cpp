#include <gtest/gtest.h>
#include <unistd.h>

#include "core/dev_item.h"
#include "core/shell.h"
#include "support/fake_home.h"
#include "support/permissions.h"

namespace tw::test {

TEST(DevActionRemovePaths, DeletesTreesCountsMissingPathsAsDoneAndStopsAtTheFirstRefusal) {
  FakeHome home;
  home.file("Library/Caches/app/blob/a.bin", 5000);
  home.file("Library/Caches/app/blob/nested/b.bin", 100);
  home.file("Library/Caches/other/c.bin", 100);
  home.file("Library/later.bin", 10);
  home.file("Library/Caches/last.bin", 10);
  const std::string caches = home / "Library/Caches/";
  EXPECT_EQ(
      DevAction::removePaths({caches + "gone", caches + "app", caches + "other/c.bin"}).perform(home.context()).error(),
      std::nullopt);
  EXPECT_FALSE(exists(caches + "app"));
  EXPECT_FALSE(exists(caches + "other/c.bin"));
  EXPECT_TRUE(exists(caches + "other"));

  EXPECT_EQ(
      DevAction::removePaths({caches + "other", home / "Library", caches + "last.bin"}).perform(home.context()).error(),
      "Refused to delete " + home / "Library");
  EXPECT_FALSE(exists(caches + "other"));
  EXPECT_TRUE(exists(home / "Library/later.bin"));
  EXPECT_TRUE(exists(caches + "last.bin"));
}

TEST(DevActionRemovePaths, RemovesALinkAndNeverWhatItLeadsTo) {
  FakeHome home;
  TempFolder outside;
  writeFile(outside / "precious/file", "keep");
  home.folder("Library/Caches");
  const std::string link = home / "Library/Caches/link";
  ASSERT_EQ(::symlink((outside / "precious").c_str(), link.c_str()), 0);
  EXPECT_EQ(DevAction::removePaths({link}).perform(home.context()).error(), std::nullopt);
  EXPECT_FALSE(exists(link));
  // Through the link the same folder is outside home, so it is refused.
  ASSERT_EQ(::symlink((outside / "precious").c_str(), link.c_str()), 0);
  EXPECT_NE(DevAction::removePaths({link + "/file"}).perform(home.context()).error(), std::nullopt);
  EXPECT_EQ(readFile(outside / "precious/file"), "keep");
}

TEST(DevActionTrash, MovesEachPathSkipsMissingOnesAndNamesTheOneThatWouldNotMove) {
  FakeHome home;
  const auto first = home.fileWithContents("Downloads/one.zip", "1");
  const auto second = home.fileWithContents("Downloads/two.zip", "2");
  EXPECT_EQ(DevAction::trash({first, home / "Downloads/gone.zip", second}).perform(home.context()).error(),
            std::nullopt);
  EXPECT_FALSE(exists(first));
  EXPECT_EQ(readFile(home / ".local/share/Trash/files/two.zip"), "2");

  const auto kept = home.fileWithContents("Downloads/locked/keep.txt", "k");
  home.file("Library/Caches/stuck/inner/file.bin", 10);
  ImmutableFolder locked(home / "Downloads/locked");
  ImmutableFolder stuck(home / "Library/Caches/stuck/inner");
  if (!locked.ok() || !stuck.ok()) GTEST_SKIP() << "can't make a folder immutable here: " << locked.reason();
  EXPECT_EQ(DevAction::trash({kept}).perform(home.context()).error(), "Couldn't move keep.txt to the Trash");
  EXPECT_TRUE(exists(kept));
  // Deleting says which item failed and the system's reason.
  EXPECT_EQ(DevAction::removePaths({home / "Library/Caches/stuck"}).perform(home.context()).error(),
            "Couldn't delete stuck: Operation not permitted");
}

TEST(DevActionCommands, RunInOrderAndStopAtTheFirstFailureWithItsErrorText) {
  FakeHome home;
  const auto log = home / "log.txt";
  EXPECT_EQ(
      DevAction::commands({
                              {"/bin/sh", "-c", "echo first >> \"$0\"", log},
                              {},
                              {"/bin/sh", "-c", "echo second >> \"$0\"; echo '  cache is locked  ' >&2; exit 4", log},
                              {"/bin/sh", "-c", "echo third >> \"$0\"", log},
                          })
          .perform(home.context())
          .error(),
      "cache is locked");
  EXPECT_EQ(readFile(log), "first\nsecond\n");
  EXPECT_EQ(DevAction::commands({{"/bin/true"}, {"/bin/sh", "-c", "exit 0"}}).perform(home.context()).error(),
            std::nullopt);
  EXPECT_EQ(DevAction::commands({{"/usr/bin/false"}}).perform(home.context()).error(), "false failed")
      << "a silent failure names the tool";
  const auto missing = DevAction::commands({{home / "bin/nothing"}}).perform(home.context()).error();
  EXPECT_NE(missing.value_or("").find("No such file"), std::string::npos) << missing.value_or("(succeeded)");

  int calls = 0;
  const auto custom = DevAction::custom([&]() -> std::optional<std::string> {
    return ++calls == 1 ? std::optional<std::string>("Docker isn't running") : std::nullopt;
  });
  EXPECT_EQ(custom.perform(home.context()).error(), "Docker isn't running");
  EXPECT_EQ(custom.perform(home.context()).error(), std::nullopt);
  EXPECT_EQ(calls, 2);
}

TEST(DevActionAdmin, WithoutPkexecSaysWhatIsMissing) {
  FakeHome home;
  if (Shell::which("pkexec", home.context())) GTEST_SKIP() << "pkexec is installed here";
  EXPECT_EQ(DevAction::admin("rm -rf /Library/Caches/x").perform(home.context()).error(),
            "Administrator actions need pkexec (policykit), which isn't installed.");
}

}  // namespace tw::test
