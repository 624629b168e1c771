#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "screens/dev_tools_home.h"
#include "support/fake_home.h"

namespace tw::test {
namespace {

using ::testing::Contains;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::UnorderedElementsAre;

using Environment = std::map<std::string, std::optional<std::string>>;

// The tools' own variables of this machine must not lead the binary elsewhere.
Environment withoutToolVariables() {
  Environment env;
  for (const char* name : {"NVM_DIR",
                           "NVM_BIN",
                           "FNM_DIR",
                           "VOLTA_HOME",
                           "PYENV_ROOT",
                           "PYENV_VERSION",
                           "RBENV_ROOT",
                           "RUSTUP_HOME",
                           "RUSTUP_TOOLCHAIN",
                           "CARGO_HOME",
                           "SDKMAN_DIR",
                           "GOMODCACHE",
                           "GOPATH",
                           "GOBIN",
                           "GOROOT",
                           "JAVA_HOME",
                           "FVM_HOME",
                           "FVM_CACHE_PATH",
                           "ANDROID_HOME",
                           "ANDROID_SDK_ROOT",
                           "ANDROID_AVD_HOME",
                           "ANDROID_USER_HOME",
                           "ANDROID_EMULATOR_HOME",
                           "GRADLE_USER_HOME",
                           "VIRTUAL_ENV",
                           "TIDEWARDEN_SNAPSHOT"}) {
    env[name] = std::nullopt;
  }
  return env;
}

RunResult run(const std::vector<std::string>& arguments) { return runTidewarden(arguments, withoutToolVariables()); }

nlohmann::json runJSON(const std::vector<std::string>& arguments) {
  const auto result = run(arguments);
  EXPECT_EQ(result.code, 0) << result.err;
  return nlohmann::json::parse(result.out);  // throws on invalid UTF-8
}

// Each group as "id: name* [badge]" with names sorted, "*" marking pre-selected items.
std::vector<std::string> jsonSummaries(const nlohmann::json& output) {
  std::vector<std::string> lines;
  for (const auto& group : output["groups"]) {
    std::vector<std::string> items;
    for (const auto& item : group["items"]) {
      std::string text = item["name"].get<std::string>() + (item["selected"] ? "*" : "");
      for (const auto& badge : item["badges"]) text += " [" + badge.get<std::string>() + "]";
      items.push_back(text);
    }
    std::sort(items.begin(), items.end());
    std::string line = group["id"].get<std::string>() + ":";
    for (std::size_t i = 0; i < items.size(); ++i) line += (i == 0 ? " " : ", ") + items[i];
    lines.push_back(line);
  }
  return lines;
}

// What the binary recorded, read from the history file of this fake home.
std::vector<std::string> historyLines(const FakeHome& home) {
  std::vector<std::string> lines;
  const std::string path = home / ".local/share/Tidewarden/history.json";
  if (!exists(path)) return lines;
  for (const auto& entry : nlohmann::json::parse(readFile(path))) {
    const auto restore = entry.value("restore", nlohmann::json());
    lines.push_back(entry["category"].get<std::string>() + ": " + entry["name"].get<std::string>() + " (" +
                    (restore.is_string() ? restore.get<std::string>() : "-") + ")");
  }
  return lines;
}

// What `<screen> clean --selected` must do end to end: preview without touching
// anything, refuse without --yes, then remove exactly the pre-selected items, record
// them, and leave nothing pre-selected.
void checkCleanCycle(const FakeHome& home, const std::string& screen, std::size_t expectedDone) {
  const auto listed = runJSON({screen, "--selected", "--json"});
  std::vector<std::string> ids;
  for (const auto& group : listed["groups"]) {
    for (const auto& item : group["items"]) {
      EXPECT_TRUE(item["selected"].get<bool>());
      ids.push_back(item["id"]);
    }
  }
  ASSERT_EQ(ids.size(), expectedDone) << screen;

  const auto preview = run({screen, "clean", "--selected", "--dry-run"});
  EXPECT_EQ(preview.code, 0) << preview.err;
  EXPECT_THAT(preview.out, HasSubstr("Would run " + std::to_string(expectedDone) + " actions"));
  const auto refused = run({screen, "clean", "--selected"});
  EXPECT_EQ(refused.code, 1);
  EXPECT_FALSE(exists(home / "tool-calls")) << readFile(home / "tool-calls");
  for (const auto& id : ids) EXPECT_TRUE(!id.starts_with("/") || exists(id)) << id;

  const auto cleaned = run({screen, "clean", "--selected", "--yes", "--json"});
  ASSERT_EQ(cleaned.code, 0) << cleaned.out << cleaned.err;
  const auto summary = nlohmann::json::parse(cleaned.out);
  EXPECT_EQ(summary["done"], expectedDone);
  EXPECT_THAT(summary["failed"], IsEmpty());
  EXPECT_GT(summary["freed"].get<std::int64_t>(), 0);
  for (const auto& id : ids) EXPECT_FALSE(id.starts_with("/") && exists(id)) << id;
  EXPECT_EQ(historyLines(home).size(), expectedDone);
  EXPECT_THAT(runJSON({screen, "--selected", "--json"})["groups"], IsEmpty()) << screen;
}

TEST(ToolchainsCommand, ListsEveryManagerWithBadgesInJSONAndText) {
  FakeHome home;
  stockToolchainHome(home);
  const auto output = runJSON({"toolchains", "--json"});
  EXPECT_EQ(output["provider"], "toolchains");
  EXPECT_TRUE(output["note"].is_null());
  const std::string host = "-x86_64-unknown-linux-gnu";
  EXPECT_THAT(jsonSummaries(output),
              UnorderedElementsAre(
                  "nvm: v16.20.2* [used 6 months ago], v18.19.0 [pinned by web] [used 6 months ago], v20.11.0 "
                  "[default] [used 6 months ago], v21.6.1 [used 2 days ago]",
                  "pyenv: 3.10.13 [pinned by ml] [used 6 months ago], 3.11.7 [default] [used 6 months ago], 3.12.1 "
                  "[pinned by api] [used 6 months ago], 3.8.18* [used 6 months ago]",
                  "rustup: 1.65.0" + host + " [pinned by legacy] [used 6 months ago], 1.70.0" + host +
                      " [pinned by api] [used 6 months ago], nightly-2023-01-01" + host +
                      "* [used 6 months ago], stable" + host + " [default] [used 6 months ago]",
                  "sdkman: gradle 7.6* [used 6 months ago], gradle 8.5 [default] [used 6 months ago], java "
                  "11.0.21-tem* [used 6 months ago], java 17.0.9-tem [default] [used 6 months ago], java 21.0.1-tem "
                  "[pinned by api] [used 6 months ago]"));
  EXPECT_THAT(jsonSummaries(runJSON({"toolchains", "--selected", "--json"})),
              UnorderedElementsAre("nvm: v16.20.2* [used 6 months ago]", "pyenv: 3.8.18* [used 6 months ago]",
                                   "rustup: nightly-2023-01-01" + host + "* [used 6 months ago]",
                                   "sdkman: gradle 7.6* [used 6 months ago], java 11.0.21-tem* [used 6 months ago]"));

  const auto text = run({"toolchains"});
  EXPECT_EQ(text.code, 0) << text.err;
  EXPECT_THAT(text.out, HasSubstr("Toolchains  (columns: space freed, apparent size) pre-selected [x]"));
  EXPECT_THAT(text.out, HasSubstr("Node.js \u00b7 nvm  ~/.nvm/versions/node \u00b7 4 versions"));
  EXPECT_THAT(text.out, HasSubstr("v20.11.0 [default] [used 6 months ago]"));
}

TEST(ToolchainsCommand, CleanRunsEachManagersUninstallRecordsHistoryAndLeavesNothingPreselected) {
  FakeHome home;
  stockToolchainHome(home);
  checkCleanCycle(home, "toolchains", 5);
  const std::string host = "-x86_64-unknown-linux-gnu";
  EXPECT_THAT(toolCalls(home),
              UnorderedElementsAre("nvm [uninstall] [v16.20.2]", "pyenv [uninstall] [-f] [3.8.18]",
                                   "rustup [toolchain] [uninstall] [nightly-2023-01-01" + host + "]",
                                   "sdk [uninstall] [gradle] [7.6]", "sdk [uninstall] [java] [11.0.21-tem]"));
  EXPECT_THAT(historyLines(home),
              UnorderedElementsAre(
                  "Developer: v16.20.2 (nvm install 16.20.2)", "Developer: 3.8.18 (pyenv install 3.8.18)",
                  "Developer: nightly-2023-01-01" + host + " (rustup toolchain install nightly-2023-01-01" + host + ")",
                  "Developer: gradle 7.6 (sdk install gradle 7.6)",
                  "Developer: java 11.0.21-tem (sdk install java 11.0.21-tem)"));
  for (const std::string& kept : std::vector<std::string>{
           ".nvm/versions/node/v20.11.0/bin/node", ".pyenv/versions/3.12.1/bin/python",
           ".rustup/toolchains/stable" + host + "/bin/rustc", ".sdkman/candidates/java/21.0.1-tem/bin/java"}) {
    EXPECT_TRUE(exists(home / kept)) << kept;
  }
}

TEST(IDECommand, CleanRemovesExactlyThePreselectedLeftoversAndRecordsThem) {
  FakeHome home;
  stockIDEHome(home);
  const auto output = runJSON({"ide", "--json"});
  EXPECT_EQ(output["groups"].size(), 5u);
  checkCleanCycle(home, "ide", 16);
  EXPECT_TRUE(exists(home / ".config/JetBrains/IntelliJIdea2022.3/options/keymap.xml"));
  EXPECT_TRUE(exists(home / ".gradle/wrapper/dists/gradle-8.2-bin"));
  EXPECT_THAT(historyLines(home),
              Contains(std::string("Developer: ms-python.python-2023.20.0 (Put it back from the Trash)")));
}

TEST(SimulatorsCommand, CleanUninstallsUnusedSystemImagesThroughSdkmanager) {
  FakeHome home;
  stockAndroidHome(home);
  checkCleanCycle(home, "simulators", 2);
  const std::string sdk = "--sdk_root=" + home.path() + "/Android/Sdk";
  EXPECT_THAT(toolCalls(home),
              UnorderedElementsAre(
                  "sdkmanager [" + sdk + "] [--uninstall] [system-images;android-30;default;x86_64]",
                  "sdkmanager [" + sdk + "] [--uninstall] [system-images;android-33;google_apis_playstore;x86_64]"));
  EXPECT_THAT(
      historyLines(home),
      UnorderedElementsAre("Developer: android-30 \u00b7 default \u00b7 x86_64 (sdkmanager --install "
                           "\"system-images;android-30;default;x86_64\")",
                           "Developer: android-33 \u00b7 google_apis_playstore \u00b7 x86_64 (sdkmanager --install "
                           "\"system-images;android-33;google_apis_playstore;x86_64\")"));
}

TEST(DeveloperToolScreens, EmptyHomesGiveTheNoteAndOddNamesStayValidUTF8) {
  FakeHome home;
  for (const std::string screen : {"toolchains", "ide", "simulators"}) {
    const auto output = runJSON({screen, "--json"});
    EXPECT_THAT(output["groups"], IsEmpty()) << screen;
    EXPECT_TRUE(output["note"].is_string()) << screen;
  }
  home.file(".vscode/extensions/pub.caf\xe9\x01-1.0.0/package.json", 10'000);
  home.file(".vscode/extensions/pub.caf\xe9\x01-2.0.0/package.json", 10'000);
  home.fileWithContents(".config/Code/User/workspaceStorage/x/workspace.json",
                        "{\"folder\": \"file://" + home.path() + "/code/gone%FF%1B\"}");
  home.file(".config/Code/User/workspaceStorage/x/state.vscdb", 5'000);
  toolVersion(home, ".pyenv/versions/3.9.\xff", "bin/python", 200);
  const auto output = runJSON({"ide", "--json"});
  EXPECT_THAT(jsonSummaries(output),
              UnorderedElementsAre("editor:vscode: pub.caf\xef\xbf\xbd\x01-1.0.0*, workspaceStorage/x*"));
  EXPECT_THAT(runJSON({"toolchains", "--json"})["groups"][0]["items"][0]["name"], "3.9.\xef\xbf\xbd");
  const auto text = run({"ide"});
  EXPECT_EQ(text.code, 0);
  EXPECT_THAT(text.out, Not(HasSubstr("\x1b")));
  EXPECT_THAT(text.out, Not(HasSubstr("\x01")));
  EXPECT_THAT(text.out, HasSubstr("pub.caf\xef\xbf\xbd\\x01-1.0.0"));
  EXPECT_THAT(text.out, HasSubstr("~/code/gone\xef\xbf\xbd\\x1b, which no longer exists"));
}

}  // namespace
}  // namespace tw::test
