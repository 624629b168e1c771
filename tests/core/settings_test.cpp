#include <unistd.h>

#include <gtest/gtest.h>

#include "core/app_paths.h"
#include "core/settings.h"
#include "fs/file_io.h"
#include "fs/path.h"
#include "support/fake_home.h"

namespace tw {
namespace {

TEST(Settings, RegisteredDefaultsAnswerUntilAValueIsStoredAndTheFileSurvivesAReload) {
  test::FakeHome home;
  const Context context = home.context();
  Settings& settings = *context.settings;
  settings.registerDefaults({{"lowSpaceGB", 20}, {"lowSpaceAlert", true}});
  EXPECT_EQ(settings.integer("lowSpaceGB"), 20);
  EXPECT_TRUE(settings.boolean("lowSpaceAlert"));
  EXPECT_FALSE(settings.value("ruleSmartClean").has_value());

  settings.set("lowSpaceGB", 35);
  settings.set("projectRoots", nlohmann::json::array({home / "code", home / "work"}));
  const auto stored = nlohmann::json::parse(test::readFile(settingsFilePath(context)));
  EXPECT_EQ(stored["lowSpaceGB"], 35);
  EXPECT_FALSE(stored.contains("lowSpaceAlert"));
  EXPECT_EQ(settings.stringList("projectRoots")->size(), 2u);

  settings.remove("lowSpaceGB");
  EXPECT_EQ(settings.integer("lowSpaceGB"), 20);
}

TEST(Settings, ADamagedFileReadsAsDefaultsAndChangesStayInMemoryUntilItIsRepaired) {
  for (const std::string& damaged : {std::string("{\"projectRoots\": [\"/x\""), std::string(), std::string("[1, 2, 3]"),
                                     std::string("{\"projectRoots\": [\"/caf\xe9\"]}"), std::string(100000, '[')}) {
    test::FakeHome home;
    const Context context = home.context();
    test::writeFile(settingsFilePath(context), damaged);
    Settings& settings = *context.settings;
    EXPECT_FALSE(settings.value("projectRoots").has_value()) << damaged.substr(0, 40);
    EXPECT_TRUE(settings.damage().has_value());

    settings.set("menuBarEnabled", false);
    EXPECT_FALSE(settings.boolean("menuBarEnabled"));
    EXPECT_EQ(test::readFile(settingsFilePath(context)), damaged) << "the user's file is never replaced";
    EXPECT_FALSE(test::exists(settingsFilePath(context) + ".bad"));

    test::writeFile(settingsFilePath(context), "{\"lowSpaceGB\": 5}");
    EXPECT_FALSE(settings.damage().has_value());
    EXPECT_EQ(settings.integer("lowSpaceGB"), 5);
    settings.set("menuBarEnabled", true);
    EXPECT_EQ(nlohmann::json::parse(test::readFile(settingsFilePath(context))),
              nlohmann::json({{"lowSpaceGB", 5}, {"menuBarEnabled", true}}));
  }
}

TEST(Settings, ASettingsFileLinkedFromTheUsersDotfilesIsFollowed) {
  test::FakeHome home;
  const Context context = home.context();
  test::writeFile(home / "dotfiles/tidewarden.json", "{\"lowSpaceGB\": 7}");
  (void)createDirectories(parentPath(settingsFilePath(context)));
  ASSERT_EQ(::symlink((home / "dotfiles/tidewarden.json").c_str(), settingsFilePath(context).c_str()), 0);
  EXPECT_FALSE(context.settings->damage().has_value());
  EXPECT_EQ(context.settings->integer("lowSpaceGB"), 7);
}

TEST(DevSettings, ProjectRootsFallBackToHomeOnlyWhenTheKeyIsAbsent) {
  test::FakeHome home;
  const Context context = home.context();
  EXPECT_EQ(DevSettings::projectRoots(context), std::vector<std::string>{home.path()});
  context.settings->set("projectRoots", nlohmann::json::array({home / "code//", "relative/ignored"}));
  EXPECT_EQ(DevSettings::projectRoots(context), std::vector<std::string>{home / "code"});
  context.settings->set("projectRoots", nlohmann::json::array());
  EXPECT_TRUE(DevSettings::projectRoots(context).empty());
}

TEST(Settings, AChangeWrittenByAnotherProcessIsSeenAndAnnouncedWithItsKeys) {
  test::FakeHome home;
  const Context context = home.context();
  Settings& settings = *context.settings;
  settings.set("lowSpaceGB", 10);
  std::vector<Settings::Change> changes;
  settings.observe([&](const Settings::Change& change) { changes.push_back(change); });

  // The command line (another process) changes one key and adds another.
  const auto result = test::runProcess(
      {"/bin/sh", "-c",
       "printf '{\"lowSpaceGB\": 35, \"projectRoots\": [\"/srv/code\"]}' > \"$0.new\" && mv \"$0.new\" \"$0\"",
       settingsFilePath(context)});
  ASSERT_EQ(result.code, 0) << result.err;
  settings.refresh();
  ASSERT_EQ(changes.size(), 1u);
  EXPECT_EQ(changes[0].keys, (std::set<std::string>{"lowSpaceGB", "projectRoots"}));
  EXPECT_TRUE(changes[0].fromFile);
  EXPECT_EQ(settings.integer("lowSpaceGB"), 35);
  EXPECT_EQ(DevSettings::projectRoots(context), std::vector<std::string>{"/srv/code"});

  // A change made here is announced once, as made here; an unchanged file is not read again.
  settings.set("lowSpaceGB", 40);
  settings.refresh();
  ASSERT_EQ(changes.size(), 2u);
  EXPECT_EQ(changes[1].keys, std::set<std::string>{"lowSpaceGB"});
  EXPECT_FALSE(changes[1].fromFile);
  settings.set("lowSpaceGB", 40);
  EXPECT_EQ(changes.size(), 2u) << "storing the same value changes nothing";
}

}  // namespace
}  // namespace tw
