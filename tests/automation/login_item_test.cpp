#include <gtest/gtest.h>
#include <sys/stat.h>

#include "automation/login_item.h"
#include "support/fake_home.h"

namespace tw {
namespace {

std::string autostartFile(const test::FakeHome& home) { return home / ".config/autostart/tidewarden.desktop"; }

// desktop-file-validate's verdict: empty when the file is valid.
std::optional<std::string> validationProblems(const std::string& file) {
  const auto result = test::runProcess({"desktop-file-validate", file});
  if (result.code == -1 || result.code == 127) return std::nullopt;
  return result.out + result.err;
}

bool validatorInstalled() { return test::runProcess({"desktop-file-validate", "--help"}).code == 0; }

TEST(LoginItem, TurningItOnWritesAValidAutostartEntryThatStartsTheAppAndOffRemovesIt) {
  if (!validatorInstalled()) GTEST_SKIP() << "desktop-file-validate is not installed (desktop-file-utils)";
  test::FakeHome home;
  const Context context = home.context();

  EXPECT_FALSE(LoginItem::isOn(context));
  EXPECT_EQ(LoginItem::set(context, true, "/usr/bin/tidewarden"), std::nullopt);
  EXPECT_TRUE(LoginItem::isOn(context));
  const std::string entry = test::readFile(autostartFile(home));
  EXPECT_NE(entry.find("\nExec=\"/usr/bin/tidewarden\"\n"), std::string::npos) << entry;
  EXPECT_EQ(validationProblems(autostartFile(home)), "");

  // Starting it again rewrites the same file in place.
  EXPECT_EQ(LoginItem::set(context, true, "/usr/bin/tidewarden"), std::nullopt);
  EXPECT_EQ(test::readFile(autostartFile(home)), entry);

  EXPECT_EQ(LoginItem::set(context, false, "/usr/bin/tidewarden"), std::nullopt);
  EXPECT_FALSE(test::exists(autostartFile(home)));
  EXPECT_FALSE(LoginItem::isOn(context));
  EXPECT_EQ(LoginItem::set(context, false, "/usr/bin/tidewarden"), std::nullopt);  // already off
}

TEST(LoginItem, AProgramPathWithSpacesQuotesAndPercentSignsStaysOneValidArgument) {
  if (!validatorInstalled()) GTEST_SKIP() << "desktop-file-validate is not installed (desktop-file-utils)";
  test::FakeHome home;
  const Context context = home.context();
  const std::string program = home / "My Apps/tide \"warden\" $HOME 100%/tidewarden";

  EXPECT_EQ(LoginItem::set(context, true, program), std::nullopt);
  const std::string entry = test::readFile(autostartFile(home));
  EXPECT_EQ(validationProblems(autostartFile(home)), "") << entry;
  const std::string expected =
      "Exec=\"" + home.path() + "/My Apps/tide \\\\\"warden\\\\\" \\\\$HOME 100%%/tidewarden\"\n";
  EXPECT_NE(entry.find(expected), std::string::npos) << entry;
}

TEST(LoginItem, TheRunningProgramIsUsedWhenNoneIsNamed) {
  test::FakeHome home;
  const Context context = home.context();
  EXPECT_EQ(LoginItem::set(context, true), std::nullopt);
  EXPECT_NE(test::readFile(autostartFile(home)).find("test_automation\"\n"), std::string::npos);
}

TEST(LoginItem, FailuresAreOneLineNamingTheLoginItem) {
  test::FakeHome home;
  Context context = home.context();

  // A path that a desktop entry cannot hold.
  auto failure = LoginItem::set(context, true, "/opt/tide\nwarden");
  ASSERT_TRUE(failure.has_value());
  EXPECT_TRUE(failure->starts_with("Tidewarden login item: ")) << *failure;
  EXPECT_FALSE(test::exists(autostartFile(home)));

  // A file where the autostart folder should be.
  test::writeFile(home / ".config/autostart", "not a folder");
  failure = LoginItem::set(context, true, "/usr/bin/tidewarden");
  ASSERT_TRUE(failure.has_value());
  EXPECT_TRUE(failure->starts_with("Tidewarden login item: cannot ")) << *failure;
  EXPECT_EQ(failure->find('\n'), std::string::npos);
}

}  // namespace
}  // namespace tw
