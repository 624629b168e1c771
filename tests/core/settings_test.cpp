#include <gtest/gtest.h>

#include "core/app_paths.h"
#include "core/settings.h"
#include "support/fake_home.h"

namespace tw {
namespace {

TEST(Settings, RegisteredDefaultsAnswerUntilAValueIsStoredAndTheFileSurvivesAReload) {
  test::FakeHome home;
  auto& settings = Settings::shared();
  settings.registerDefaults({{"lowSpaceGB", 20}, {"lowSpaceAlert", true}});
  EXPECT_EQ(settings.integer("lowSpaceGB"), 20);
  EXPECT_TRUE(settings.boolean("lowSpaceAlert"));
  EXPECT_FALSE(settings.value("ruleSmartClean").has_value());

  settings.set("lowSpaceGB", 35);
  settings.set("projectRoots", nlohmann::json::array({home / "code", home / "work"}));
  const auto stored = nlohmann::json::parse(test::readFile(settingsFilePath()));
  EXPECT_EQ(stored["lowSpaceGB"], 35);
  EXPECT_FALSE(stored.contains("lowSpaceAlert"));
  EXPECT_EQ(settings.stringList("projectRoots")->size(), 2u);

  settings.remove("lowSpaceGB");
  EXPECT_EQ(settings.integer("lowSpaceGB"), 20);
}

TEST(Settings, ADamagedEmptyNonObjectOrNonUtf8FileReadsAsDefaultsAndIsKeptAsBad) {
  for (const std::string& damaged : {std::string("{\"projectRoots\": [\"/x\""), std::string(), std::string("[1, 2, 3]"),
                                     std::string("{\"projectRoots\": [\"/caf\xe9\"]}"), std::string(100000, '[')}) {
    test::FakeHome home;
    test::writeFile(settingsFilePath(), damaged);
    auto& settings = Settings::shared();
    EXPECT_FALSE(settings.value("projectRoots").has_value()) << damaged.substr(0, 40);
    EXPECT_EQ(test::readFile(settingsFilePath() + ".bad"), damaged);

    settings.set("menuBarEnabled", false);
    EXPECT_EQ(test::readFile(settingsFilePath() + ".bad"), damaged);
    EXPECT_FALSE(nlohmann::json::parse(test::readFile(settingsFilePath()))["menuBarEnabled"].get<bool>());
  }
}

TEST(DevSettings, ProjectRootsFallBackToHomeOnlyWhenTheKeyIsAbsent) {
  test::FakeHome home;
  EXPECT_EQ(DevSettings::projectRoots(), std::vector<std::string>{home.path()});
  Settings::shared().set("projectRoots", nlohmann::json::array({home / "code//", "relative/ignored"}));
  EXPECT_EQ(DevSettings::projectRoots(), std::vector<std::string>{home / "code"});
  Settings::shared().set("projectRoots", nlohmann::json::array());
  EXPECT_TRUE(DevSettings::projectRoots().empty());
}

}  // namespace
}  // namespace tw
