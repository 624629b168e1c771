#include <gtest/gtest.h>

#include "core/context.h"
#include "core/text.h"
#include "fs/path.h"
#include "support/fake_home.h"
#include "support/scoped_environment.h"

namespace tw {
namespace {

TEST(StandardizePath, ResolvesDotsAndExtraSlashesWithoutTouchingTheDisk) {
  EXPECT_EQ(standardizePath("/a//b/./c/"), "/a/b/c");
  EXPECT_EQ(standardizePath("/a/b/../c"), "/a/c");
  EXPECT_EQ(standardizePath("/../../x"), "/x");
  EXPECT_EQ(standardizePath("/"), "/");
  EXPECT_EQ(standardizePath("a/../../b"), "../b");
  EXPECT_EQ(standardizePath(""), ".");
}

TEST(PathPieces, LastComponentParentAndExtension) {
  EXPECT_EQ(lastPathComponent("/a/b/c/"), "c");
  EXPECT_EQ(lastPathComponent("/"), "/");
  EXPECT_EQ(parentPath("/a"), "/");
  EXPECT_EQ(parentPath("/a/b/"), "/a");
  EXPECT_EQ(pathExtension("Setup.DMG"), "dmg");
  EXPECT_EQ(pathExtension("archive.pkg.zip"), "zip");
  EXPECT_EQ(pathExtension("README"), "");
  EXPECT_EQ(joinPath("/", "etc"), "/etc");
  EXPECT_EQ(joinPath("/a", "b"), "/a/b");
}

TEST(PathPieces, OnlyPlainNamesMakeAPlainRelativePath) {
  EXPECT_FALSE(hasDotOrEmptyPiece("a/b.c/..d"));
  for (const char* unplain : {"", "a//b", "/a", "a/", "./a", "a/.", "a/../b", ".."}) {
    EXPECT_TRUE(hasDotOrEmptyPiece(unplain)) << unplain;
  }
}

TEST(TildePath, ReplacesOnlyAWholeHomePrefix) {
  test::FakeHome home;
  EXPECT_EQ(tildePath(home.path(), home.path()), "~");
  EXPECT_EQ(tildePath(home / "Developer/x", home.path()), "~/Developer/x");
  EXPECT_EQ(tildePath(home.path() + "-other/x", home.path()), home.path() + "-other/x");
  EXPECT_EQ(tildePath("/etc", home.path()), "/etc");
}

TEST(XdgFolder, FollowsTheVariableUnlessItIsRelativeOrUnset) {
  const auto dataHome = [](std::optional<std::string> value) {
    Environment env{{"HOME", "/home/ann/"}};
    if (value) env["XDG_DATA_HOME"] = *value;
    return Context::fromEnvironment(env).dataHome;
  };
  EXPECT_EQ(dataHome("/data/ann/"), "/data/ann");
  EXPECT_EQ(dataHome("relative/share"), "/home/ann/.local/share");
  EXPECT_EQ(dataHome(std::nullopt), "/home/ann/.local/share");
}

TEST(ValidUtf8, ReplacesEveryInvalidSequenceAndKeepsValidText) {
  EXPECT_EQ(validUtf8("plain ✓ ü"), "plain ✓ ü");
  EXPECT_EQ(validUtf8("bad\xff name"), "bad\xEF\xBF\xBD name");
  EXPECT_EQ(validUtf8("\xC3"), "\xEF\xBF\xBD");                                  // truncated sequence
  EXPECT_EQ(validUtf8("\xED\xA0\x80"), "\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD");  // surrogate
  EXPECT_EQ(validUtf8("\xC0\xAF"), "\xEF\xBF\xBD\xEF\xBF\xBD");                  // overlong slash
}

TEST(CharacterCount, CountsCodePointsNotBytes) {
  EXPECT_EQ(characterCount("abc"), 3u);
  EXPECT_EQ(characterCount("⠋ …"), 3u);
  EXPECT_EQ(firstCharacters("⠋⠙⠹x", 2), "⠋⠙");
}

}  // namespace
}  // namespace tw
