#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include "core/text.h"
#include "screens/dev_tool_tables.h"
#include "screens/dev_tools_home.h"
#include "screens/ide_leftovers.h"
#include "support/permissions.h"
#include "support/program_in.h"

namespace tw::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::UnorderedElementsAre;

const std::string idea = "IntelliJ IDEA Ultimate ", pycharm = "PyCharm Community ";

TEST(IDELeftovers, OffersWhatOlderVersionsAndDeletedProjectsLeftAndPreselectsWhatRebuildsItself) {
  FakeHome home;
  stockIDEHome(home);
  const auto result = IDELeftovers::scan(inputFor(home), linuxDevToolTables());
  EXPECT_FALSE(result.note.has_value());
  EXPECT_THAT(summaries(result),
              UnorderedElementsAre(
                  "jetbrains:IntelliJIdea: " + idea + "2022.3 \u00b7 caches*, " + idea + "2022.3 \u00b7 plugins, " +
                      idea + "2022.3 \u00b7 settings, " + idea + "2023.2 \u00b7 caches*, " + idea +
                      "2023.2 \u00b7 plugins, " + idea + "2023.2 \u00b7 settings",
                  "jetbrains:PyCharmCE: " + pycharm + "2022.1 \u00b7 caches*, " + pycharm + "2022.1 \u00b7 settings, " +
                      pycharm + "2023.1 \u00b7 caches*, " + pycharm + "2023.1 \u00b7 settings",
                  "jetbrains:AndroidStudio: Android Studio 2022.2 \u00b7 settings",
                  "editor:vscode: Code/Cache*, Code/CachedData*, Code/logs*, ms-python.python-2023.20.0*, "
                  "ms-python.python-2023.22.0*, ms-vscode.cpptools-1.17.5-linux-x64*, workspaceStorage/a1*, "
                  "workspaceStorage/c3, workspaceStorage/e5, workspaceStorage/f6*",
                  "gradle: Gradle 6.9 (bin)*, Gradle 7.4 (all)*, Gradle 8.2 (bin) [used by android], caches/6.9*, "
                  "caches/7.4*"));

  const auto idea2022 = groupWithId(result, "jetbrains:IntelliJIdea");
  EXPECT_EQ(idea2022->subtitle, "Newest 2023.3 \u00b7 2 older versions");
  const auto* plugins = itemNamed(result, idea + "2022.3 \u00b7 plugins");
  EXPECT_EQ(plugins->detail, "2 plugins and other data \u00b7 " + idea + "2023.3 keeps its own");
  EXPECT_TRUE(std::holds_alternative<DevAction::Trash>(plugins->action.value));
  const auto* caches = itemNamed(result, idea + "2022.3 \u00b7 caches");
  EXPECT_TRUE(std::holds_alternative<DevAction::RemovePaths>(caches->action.value));
  EXPECT_GE(caches->size.value_or(0), 90'000);
  EXPECT_EQ(itemNamed(result, "ms-python.python-2023.20.0")->detail, "Replaced by 2024.0.1");
  EXPECT_EQ(itemNamed(result, "ms-vscode.cpptools-1.17.5-linux-x64")->detail, "Marked obsolete by the editor");
  EXPECT_EQ(itemNamed(result, "workspaceStorage/a1")->detail, "Data of ~/code/gone, which no longer exists");
  EXPECT_EQ(itemNamed(result, "workspaceStorage/f6")->detail,
            "Data of ~/code/My Gone/all.code-workspace, which no longer exists");
  EXPECT_EQ(itemNamed(result, "workspaceStorage/c3")->detail,
            "Data of /media/usb/old-project, which isn't there (a disk that isn't connected?)");
  EXPECT_EQ(itemNamed(result, "workspaceStorage/e5")->detail, "Workspace data whose project can't be read");
  const auto* cache74 = itemNamed(result, "caches/7.4");
  EXPECT_THAT(std::get<DevAction::RemovePaths>(cache74->action.value).paths,
              ElementsAre(home / ".gradle/caches/7.4", home / ".gradle/daemon/7.4"));
}

// An IDE still running an old version, and a build on an old Gradle: neither is ticked,
// and the Gradle version's cache stays.
TEST(IDELeftovers, WhatARunningProgramUsesIsMarkedAndKeptUnselected) {
  FakeHome home;
  stockIDEHome(home);
  const ProgramIn ide(home / ".cache/JetBrains/IntelliJIdea2022.3");
  const ProgramIn build(home / ".gradle/wrapper/dists/gradle-7.4-all");
  const auto result = IDELeftovers::scan(inputFor(home), linuxDevToolTables());
  expectMarkedInUse(result, idea + "2022.3 \u00b7 caches");
  expectMarkedInUse(result, "Gradle 7.4 (all)");
  EXPECT_EQ(itemNamed(result, "caches/7.4"), nullptr);
  EXPECT_TRUE(itemNamed(result, idea + "2023.2 \u00b7 caches")->selected);
  EXPECT_TRUE(itemNamed(result, "caches/6.9")->selected);
}

TEST(IDELeftovers, CleaningThePreselectedItemsLeavesNothingPreselectedAndKeepsWhatIsUsed) {
  FakeHome home;
  stockIDEHome(home);
  const auto result = IDELeftovers::scan(inputFor(home), linuxDevToolTables());
  performPreselected(result, contextFor(home));
  for (const std::string gone :
       {".cache/JetBrains/IntelliJIdea2022.3", ".cache/JetBrains/PyCharmCE2023.1",
        ".vscode/extensions/ms-python.python-2023.20.0", ".config/Code/User/workspaceStorage/a1", ".config/Code/Cache",
        ".gradle/wrapper/dists/gradle-7.4-all", ".gradle/caches/6.9", ".gradle/daemon/7.4"}) {
    EXPECT_FALSE(exists(home / gone)) << gone;
  }
  for (const std::string kept :
       {".cache/JetBrains/IntelliJIdea2023.3/index/data", ".config/JetBrains/IntelliJIdea2022.3/options/keymap.xml",
        ".vscode/extensions/ms-python.python-2024.0.1/package.json", ".vscode/extensions/golang.go-0.41.0/package.json",
        ".config/Code/User/workspaceStorage/b2/state.vscdb", ".config/Code/User/settings.json",
        ".gradle/wrapper/dists/gradle-8.2-bin", ".gradle/caches/8.2/generated/x", ".gradle/caches/modules-2"}) {
    EXPECT_TRUE(exists(home / kept)) << kept;
  }
  EXPECT_TRUE(exists(home / ".local/share/Trash/files/ms-python.python-2023.20.0/package.json"));
  expectNothingPreselected(IDELeftovers::scan(inputFor(home), linuxDevToolTables()));
}

TEST(IDELeftovers, ListsThatCannotBeReadKeepEverythingTheyCouldProtectUnselected) {
  FakeHome home;
  home.file(".cursor/extensions/anysphere.pyright-1.1.300/package.json", 10'000);
  home.file(".cursor/extensions/anysphere.pyright-1.1.350/package.json", 10'000);
  home.fileWithContents(".cursor/extensions/extensions.json", "[ not json");
  home.file(".gradle/wrapper/dists/gradle-8.0-bin/x/gradle-8.0/lib/core.jar", 20'000);
  home.file("code/app/settings.gradle", 10);
  home.fileWithContents("code/app/gradle/wrapper/gradle-wrapper.properties", "distributionUrl=x\n");
  const auto seen = withFilePermissionsEnforced([&] {
    if (::chmod((home / "code/app/gradle/wrapper/gradle-wrapper.properties").c_str(), 0) != 0) return std::string();
    const auto result = IDELeftovers::scan(inputFor(home), linuxDevToolTables());
    std::string text;
    for (const char* id : {"editor:cursor", "gradle"}) {
      const auto group = groupWithId(result, id);
      text += std::string(id) + " note: " + (group ? group->note().value_or("none") : "no group") + "\n";
    }
    for (const auto& line : summaries(result)) text += line + "\n";
    return text;
  });
  if (!seen) GTEST_SKIP() << "cannot make a file unreadable here";
  EXPECT_THAT(splitLines(*seen),
              UnorderedElementsAre(
                  "editor:cursor note: Can't read the editor's list of installed extensions, so older versions "
                  "aren't pre-selected.",
                  "gradle note: Can't read gradle/wrapper/gradle-wrapper.properties in app, so no distribution is "
                  "pre-selected.",
                  "editor:cursor: anysphere.pyright-1.1.300", "gradle: Gradle 8.0 (bin)"));
}

TEST(IDELeftovers, MacHomesKeepIDEDataUnderLibrary) {
  FakeHome home;
  for (const std::string version : {"2023.1", "2024.1"}) {
    home.file("Library/Application Support/JetBrains/GoLand" + version + "/plugins/go-template/lib/a.jar", 20'000);
    home.file("Library/Caches/JetBrains/GoLand" + version + "/index/x", 40'000);
    home.file("Library/Logs/JetBrains/GoLand" + version + "/idea.log", 10'000);
  }
  home.file("Library/Application Support/Cursor/CachedData/abc/x.bin", 30'000);
  const auto result = IDELeftovers::scan(inputFor(home), macOSDevToolTables());
  EXPECT_THAT(summaries(result),
              UnorderedElementsAre("jetbrains:GoLand: GoLand 2023.1 \u00b7 caches*, GoLand 2023.1 \u00b7 logs*, GoLand "
                                   "2023.1 \u00b7 settings",
                                   "editor:cursor: Cursor/CachedData*"));
  EXPECT_EQ(itemNamed(result, "GoLand 2023.1 \u00b7 settings")->detail,
            "Keymaps, code styles and other settings and 1 plugin \u00b7 GoLand 2024.1 imported them when it was "
            "first started");
  // The Linux table looks elsewhere and finds nothing here.
  const auto elsewhere = IDELeftovers::scan(inputFor(home), linuxDevToolTables());
  EXPECT_THAT(elsewhere.groups, IsEmpty());
  EXPECT_TRUE(elsewhere.note.has_value());
}

}  // namespace
}  // namespace tw::test
