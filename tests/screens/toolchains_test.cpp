#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <functional>
#include <set>

#include "fs/file_io.h"
#include "screens/dev_tool_tables.h"
#include "screens/dev_tools_home.h"
#include "screens/toolchains.h"
#include "support/permissions.h"
#include "support/program_in.h"

namespace tw::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::UnorderedElementsAre;

const std::string host = "-x86_64-unknown-linux-gnu";

TEST(Toolchains, OffersEveryVersionAndPreselectsOnlyTheIdleOnesNothingReliesOn) {
  FakeHome home;
  stockToolchainHome(home);
  const auto result = Toolchains::scan(inputFor(home), linuxDevToolTables());
  EXPECT_FALSE(result.note.has_value());
  EXPECT_THAT(
      summaries(result),
      UnorderedElementsAre(
          "nvm: v16.20.2* [used 6 months ago], v18.19.0 [pinned by web] [used 6 months ago], v20.11.0 [default] "
          "[used 6 months ago], v21.6.1 [used 2 days ago]",
          "pyenv: 3.10.13 [pinned by ml] [used 6 months ago], 3.11.7 [default] [used 6 months ago], 3.12.1 [pinned "
          "by api] [used 6 months ago], 3.8.18* [used 6 months ago]",
          "rustup: 1.65.0" + host + " [pinned by legacy] [used 6 months ago], 1.70.0" + host +
              " [pinned by api] [used 6 months ago], nightly-2023-01-01" + host + "* [used 6 months ago], stable" +
              host + " [default] [used 6 months ago]",
          "sdkman: gradle 7.6* [used 6 months ago], gradle 8.5 [default] [used 6 months ago], java 11.0.21-tem* [used "
          "6 months ago], java 17.0.9-tem [default] [used 6 months ago], java 21.0.1-tem [pinned by api] [used 6 "
          "months ago]"));

  const auto nvm = groupWithId(result, "nvm");
  ASSERT_NE(nvm, nullptr);
  EXPECT_EQ(nvm->title, "Node.js \u00b7 nvm");
  EXPECT_EQ(nvm->subtitle, "~/.nvm/versions/node \u00b7 4 versions");
  std::int64_t previous = INT64_MAX;
  for (const auto& item : nvm->items()) {
    EXPECT_LE(item.freeable.value_or(0), previous) << item.name;
    previous = item.freeable.value_or(0);
  }
  const auto* pinned = itemNamed(result, "v18.19.0");
  ASSERT_NE(pinned, nullptr);
  EXPECT_EQ(pinned->detail, "Pinned by web (.nvmrc) \u00b7 Last used 6 months ago");
  EXPECT_EQ(pinned->warning, "web asks for this version (.nvmrc); it has to be installed again there.");
  const auto* old = itemNamed(result, "v16.20.2");
  ASSERT_NE(old, nullptr);
  EXPECT_EQ(old->id, home / ".nvm/versions/node/v16.20.2");
  EXPECT_GE(old->size.value_or(0), 50'000);
  EXPECT_EQ(old->restoreHint, "nvm install 16.20.2");
  EXPECT_FALSE(old->warning.has_value());
}

TEST(Toolchains, RemovesThroughEachManagersOwnUninstallCommand) {
  FakeHome home;
  stockToolchainHome(home);
  const auto result = Toolchains::scan(inputFor(home), linuxDevToolTables());
  const auto script = [](const std::string& text) { return text; };
  EXPECT_THAT(commandsOf(*itemNamed(result, "v16.20.2")),
              ElementsAre(ElementsAre("/bin/bash", "-c",
                                      script(R"(export NVM_DIR="$1"; . "$1/nvm.sh" --no-use && nvm uninstall "$2")"),
                                      "nvm", home / ".nvm", "v16.20.2")));
  EXPECT_THAT(commandsOf(*itemNamed(result, "3.8.18")),
              ElementsAre(ElementsAre(home / ".pyenv/bin/pyenv", "uninstall", "-f", "3.8.18")));
  EXPECT_THAT(
      commandsOf(*itemNamed(result, "nightly-2023-01-01" + host)),
      ElementsAre(ElementsAre(home / ".cargo/bin/rustup", "toolchain", "uninstall", "nightly-2023-01-01" + host)));
  EXPECT_EQ(itemNamed(result, "java 11.0.21-tem")->restoreHint, "sdk install java 11.0.21-tem");

  const auto removed = performPreselected(result, contextFor(home));
  EXPECT_THAT(toolCalls(home),
              UnorderedElementsAre("nvm [uninstall] [v16.20.2]", "pyenv [uninstall] [-f] [3.8.18]",
                                   "rustup [toolchain] [uninstall] [nightly-2023-01-01" + host + "]",
                                   "sdk [uninstall] [gradle] [7.6]", "sdk [uninstall] [java] [11.0.21-tem]"));
  for (const auto& path : removed) EXPECT_FALSE(exists(path)) << path;
  EXPECT_TRUE(exists(home / ".nvm/versions/node/v18.19.0/bin/node"));
  expectNothingPreselected(Toolchains::scan(inputFor(home), linuxDevToolTables()));
}

TEST(Toolchains, WithoutItsToolAVersionGoesToTheTrash) {
  FakeHome home;
  stockToolchainHome(home);
  removeTree(home / ".pyenv/bin");
  const auto result = Toolchains::scan(inputFor(home), linuxDevToolTables());
  const auto* old = itemNamed(result, "3.8.18");
  ASSERT_NE(old, nullptr);
  const auto* trash = std::get_if<DevAction::Trash>(&old->action.value);
  ASSERT_NE(trash, nullptr);
  EXPECT_THAT(trash->paths, ElementsAre(home / ".pyenv/versions/3.8.18"));
  EXPECT_EQ(old->action.perform(contextFor(home)).error(), std::nullopt);
  EXPECT_FALSE(exists(home / ".pyenv/versions/3.8.18"));
  EXPECT_TRUE(exists(home / ".local/share/Trash/files/3.8.18/bin/python"));
  EXPECT_TRUE(exists(home / ".local/share/Trash/info/3.8.18.trashinfo"));
}

// How one manager lays out a version, marks its default and is pinned by a project.
struct ManagerCase {
  std::string id;
  std::function<std::string(const std::string&)> folder;  // relative to the manager's folder
  std::string program;
  std::function<void(FakeHome&, const std::string& root)> makeDefault;  // version 2.0.0; none: no defaults
};

std::vector<ManagerCase> managerCases(const DevToolTables& tables) {
  const std::string ndkProbe = [&] {
    for (const auto& manager : tables.toolchains) {
      if (manager.id == "android-ndk") return manager.probes.front();
    }
    return std::string();
  }();
  const auto link = [](const std::string& target, const std::string& at) {
    makeFolders(at.substr(0, at.rfind('/')));
    EXPECT_EQ(::symlink(target.c_str(), at.c_str()), 0) << at;
  };
  return {
      {"nvm", [](auto& v) { return "versions/node/v" + v; }, "bin/node",
       [](FakeHome&, const std::string& root) { writeFile(root + "/alias/default", "2.0.0\n"); }},
      {"fnm", [](auto& v) { return "node-versions/v" + v; }, "installation/bin/node",
       [link](FakeHome&, const std::string& root) {
         link(root + "/node-versions/v2.0.0/installation", root + "/aliases/default");
       }},
      {"volta", [](auto& v) { return "tools/image/node/" + v; }, "bin/node",
       [](FakeHome&, const std::string& root) {
         writeFile(root + "/tools/user/platform.json", R"({"node": {"runtime": "2.0.0", "npm": null}})");
       }},
      {"pyenv", [](auto& v) { return "versions/" + v; }, "bin/python",
       [](FakeHome&, const std::string& root) { writeFile(root + "/version", "2.0.0\n"); }},
      {"rbenv", [](auto& v) { return "versions/" + v; }, "bin/ruby",
       [](FakeHome&, const std::string& root) { writeFile(root + "/version", "2.0.0\n"); }},
      {"rustup", [](auto& v) { return "toolchains/" + v + host; }, "bin/rustc",
       [](FakeHome&, const std::string& root) {
         writeFile(root + "/settings.toml", "default_toolchain = \"2.0.0" + host + "\"\n");
       }},
      {"sdkman", [](auto& v) { return "candidates/java/" + v; }, "bin/java",
       [link](FakeHome&, const std::string& root) { link("2.0.0", root + "/candidates/java/current"); }},
      {"go-toolchains", [](auto& v) { return "golang.org/toolchain@v0.0.1-go" + v + ".linux-amd64"; }, "bin/go", {}},
      {"go-sdks", [](auto& v) { return "go" + v; }, "bin/go", {}},
      {"fvm", [](auto& v) { return "versions/" + v; }, "bin/flutter",
       [link](FakeHome&, const std::string& root) { link(root + "/versions/2.0.0", root + "/default"); }},
      {"android-ndk", [](auto& v) { return "ndk/" + v; }, ndkProbe, {}},
  };
}

// The folder a manager uses when no variable says otherwise.
std::string usualRoot(const ToolchainManager& manager, const DevToolsInput& input) {
  for (const auto& place : manager.roots) {
    if (place.starts_with("~") || place.starts_with("$XDG_")) return *input.expand(place);
  }
  return "";
}

void pinVersionThreeEverywhere(FakeHome& home) {
  const std::string pins = project(home, "pinning");
  writeFile(pins + "/package.json", R"({"name": "pinning", "volta": {"node": "3.0.0"}})");
  writeFile(pins + "/.nvmrc", "3.0.0\n");
  writeFile(pins + "/.python-version", "3.0.0\n");
  writeFile(pins + "/.ruby-version", "ruby-3.0.0\n");
  writeFile(pins + "/rust-toolchain", "3.0.0\n");
  writeFile(pins + "/.sdkmanrc", "java=3.0.0\n");
  writeFile(pins + "/go.mod", "module example.com/pinning\n\ngo 1.21\n\ntoolchain go3.0.0\n");
  writeFile(pins + "/.fvmrc", R"({"flutter": "3.0.0"})");
  writeFile(pins + "/settings.gradle", "include ':app'\n");
  writeFile(pins + "/app/build.gradle", "android {\n    ndkVersion \"3.0.0\"\n}\n");
}

TEST(Toolchains, NothingDefaultActivePinnedOrRecentIsEverPreselectedByAnyManager) {
  for (const DevToolTables* tables : {&linuxDevToolTables(), &macOSDevToolTables()}) {
    FakeHome home;
    pinVersionThreeEverywhere(home);
    DevToolsInput input = inputFor(home);
    std::string path = "/usr/bin:/bin";
    std::set<std::string> ids, withoutDefaults;
    for (const auto& testCase : managerCases(*tables)) {
      const auto manager = std::find_if(tables->toolchains.begin(), tables->toolchains.end(),
                                        [&](const auto& row) { return row.id == testCase.id; });
      ASSERT_NE(manager, tables->toolchains.end()) << tables->name << " " << testCase.id;
      const std::string root = usualRoot(*manager, input);
      const std::string versions = manager->versions.empty() ? root : root + "/" + manager->versions;
      const auto folderOf = [&](const std::string& version) { return root + "/" + testCase.folder(version); };
      for (const std::string version : {"1.0.0", "2.0.0", "3.0.0", "4.0.0"}) {
        writeFilledFile(folderOf(version) + "/" + testCase.program, 30'000);
        setModificationTime(folderOf(version) + "/" + testCase.program, 200 * oneDay);
      }
      writeFilledFile(folderOf("5.0.0") + "/" + testCase.program, 30'000);  // ran today
      if (testCase.makeDefault) testCase.makeDefault(home, root);
      path += ":" + folderOf("4.0.0") + "/bin";  // this shell uses 4.0.0
      ids.insert(testCase.id);
      if (!testCase.makeDefault) withoutDefaults.insert(testCase.id);
    }
    input.context.env["PATH"] = path;

    const auto result = Toolchains::scan(input, *tables);
    std::set<std::string> seen;
    for (const auto& group : result.groups) {
      const std::string what = tables->name + " " + group->id;
      seen.insert(group->id);
      EXPECT_FALSE(group->note().has_value()) << what << ": " << group->note().value_or("");
      std::vector<std::string> selected;
      for (const auto& item : group->items()) {
        if (item.selected) selected.push_back(item.name);
        const std::string badges = badgeText(item.badges);
        if (item.name.find("2.0.0") != std::string::npos && !withoutDefaults.contains(group->id)) {
          EXPECT_NE(badges.find("[default]"), std::string::npos) << what << " " << item.name;
        }
        if (item.name.find("3.0.0") != std::string::npos) {
          EXPECT_NE(badges.find("[pinned by pinning]"), std::string::npos) << what << " " << item.name;
        }
        if (item.name.find("4.0.0") != std::string::npos) {
          EXPECT_NE(badges.find("[active]"), std::string::npos) << what << " " << item.name;
        }
      }
      // Only the idle version nothing relies on; where the manager has no default, 2.0.0 is one too.
      std::sort(selected.begin(), selected.end());
      ASSERT_EQ(selected.size(), withoutDefaults.contains(group->id) ? 2u : 1u) << what;
      EXPECT_NE(selected.front().find("1.0.0"), std::string::npos) << what << " " << selected.front();
      EXPECT_NE(selected.back().find(selected.size() == 2 ? "2.0.0" : "1.0.0"), std::string::npos) << what;
    }
    EXPECT_EQ(seen, ids) << tables->name;
  }
}

TEST(Toolchains, AVersionARunningProgramUsesIsNotPreselected) {
  FakeHome home;
  stockToolchainHome(home);
  const ProgramIn running(home / ".nvm/versions/node/v16.20.2/bin");
  const auto result = Toolchains::scan(inputFor(home), linuxDevToolTables());
  const auto* busy = itemNamed(result, "v16.20.2");
  ASSERT_NE(busy, nullptr);
  EXPECT_FALSE(busy->selected);
  EXPECT_NE(badgeText(busy->badges).find("[in use]"), std::string::npos);
  EXPECT_EQ(busy->warning, "A running program uses this version.");
}

TEST(Toolchains, APinOrDefaultThatCannotBeReadOrResolvedStopsAllPreselectionForItsManager) {
  FakeHome home;
  stockToolchainHome(home);
  home.fileWithContents("code/other/.nvmrc", "lts/iron\n");  // nvm has no alias for it
  project(home, "other");
  home.fileWithContents(".rustup/settings.toml", "default_toolchain = \n");  // damaged
  const auto result = Toolchains::scan(inputFor(home), linuxDevToolTables());
  EXPECT_EQ(groupWithId(result, "nvm")->note(),
            "Nothing here is pre-selected: .nvmrc in other names \u201clts/iron\u201d, which can't be matched to an "
            "installed version.");
  EXPECT_EQ(groupWithId(result, "rustup")->note(),
            "Nothing here is pre-selected: Can't read settings.toml to tell the default toolchain.");
  for (const char* id : {"nvm", "rustup"}) {
    for (const auto& item : groupWithId(result, id)->items()) EXPECT_FALSE(item.selected) << item.name;
  }
  EXPECT_TRUE(itemNamed(result, "3.8.18")->selected);  // pyenv is untouched by either

  const std::string pin = home.fileWithContents("code/api/.ruby-version", "3.2.2\n");
  toolVersion(home, ".rbenv/versions/2.7.8", "bin/ruby", 200);
  const auto locked = withFilePermissionsEnforced([&] {
    if (::chmod(pin.c_str(), 0) != 0) return std::string();
    const auto result = Toolchains::scan(inputFor(home), linuxDevToolTables());
    const auto group = groupWithId(result, "rbenv");
    const auto* item = itemNamed(result, "2.7.8");
    return (group ? group->note().value_or("no note") : "no group") + "\n" +
           (item == nullptr  ? "missing"
            : item->selected ? "selected"
                             : "not selected");
  });
  if (!locked) GTEST_SKIP() << "cannot make a file unreadable here";
  EXPECT_EQ(*locked, "Nothing here is pre-selected: Can't read .ruby-version in api.\nnot selected");
}

TEST(Toolchains, GoToolchainsKeptReadOnlyByGoStillGoToTheTrash) {
  FakeHome home;
  const std::string toolchain =
      toolVersion(home, "go/pkg/mod/golang.org/toolchain@v0.0.1-go1.20.14.linux-amd64", "bin/go", 200);
  home.file("go/pkg/mod/golang.org/toolchain@v0.0.1-go1.20.14.linux-amd64/src/fmt/print.go", 5'000);
  home.file("go/pkg/mod/cache/download/golang.org/toolchain/@v/v0.0.1-go1.20.14.linux-amd64.zip", 20'000);
  for (const std::string folder : {"", "/bin", "/src", "/src/fmt"})
    ASSERT_EQ(::chmod((toolchain + folder).c_str(), 0555), 0);
  const auto result = Toolchains::scan(inputFor(home), linuxDevToolTables());
  const auto* item = itemNamed(result, "go1.20.14");
  ASSERT_NE(item, nullptr);
  EXPECT_TRUE(item->selected);
  EXPECT_EQ(item->restoreHint, "GOTOOLCHAIN=go1.20.14 go version");
  const auto error =
      withFilePermissionsEnforced([&] { return item->action.perform(contextFor(home)).error().value_or("moved"); });
  if (!error) GTEST_SKIP() << "cannot drop the rights that ignore permissions here";
  EXPECT_EQ(*error, "moved");
  EXPECT_FALSE(exists(toolchain));
  EXPECT_FALSE(exists(home / "go/pkg/mod/cache/download/golang.org/toolchain/@v/v0.0.1-go1.20.14.linux-amd64.zip"));
  EXPECT_TRUE(exists(home / ".local/share/Trash/files/toolchain@v0.0.1-go1.20.14.linux-amd64/src/fmt/print.go"));
}

TEST(Toolchains, MacHomesOfferXcodeArchivesAndHomebrewsOwnCleanup) {
  FakeHome home;
  home.file("Library/Developer/Xcode/Archives/2023-03-01/Ferry 2023-03-01, 10.21.xcarchive/Info.plist", 30'000);
  home.file("Library/Caches/Homebrew/downloads/abc--node-20.1.0.bottle.tar.gz", 25'000);
  home.file("brew/Cellar/node/20.1.0/bin/node", 60'000);
  home.file("brew/Cellar/node/19.0.0/bin/node", 50'000);
  standIn(home, ".local/bin/brew",
          "[ \"$1 $2\" = \"cleanup -n\" ] && printf 'Would remove: %s (1 file, 60KB)\\nWould remove: %s (1 file, "
          "50KB)\\nWould remove: %s (25KB)\\n==> This operation would free approximately 135KB of disk space.\\n' "
          "\"$HOME/brew/Cellar/node/20.1.0\" \"$HOME/brew/Cellar/node/19.0.0\" "
          "\"$HOME/Library/Caches/Homebrew/downloads/abc--node-20.1.0.bottle.tar.gz\"\nexit 0");
  const auto result = Toolchains::scan(inputFor(home), macOSDevToolTables());
  EXPECT_THAT(summaries(result),
              UnorderedElementsAre("xcode-archives: Ferry 2023-03-01, 10.21", "homebrew: Old downloads*, node*"));
  const auto* archive = itemNamed(result, "Ferry 2023-03-01, 10.21");
  EXPECT_TRUE(std::holds_alternative<DevAction::Trash>(archive->action.value));
  EXPECT_TRUE(archive->warning.has_value());
  const auto* node = itemNamed(result, "node");
  EXPECT_EQ(node->detail, "Old versions 20.1.0, 19.0.0 \u00b7 Homebrew keeps the newest");
  EXPECT_THAT(commandsOf(*node), ElementsAre(ElementsAre(home / ".local/bin/brew", "cleanup", "node")));
  EXPECT_GE(node->size.value_or(0), 110'000);
  EXPECT_EQ(itemNamed(result, "Old downloads")->action.perform(contextFor(home)).error(), std::nullopt);
  EXPECT_FALSE(exists(home / "Library/Caches/Homebrew/downloads/abc--node-20.1.0.bottle.tar.gz"));
  EXPECT_THAT(toolCalls(home), ElementsAre("brew [cleanup] [-n]"));
}

TEST(Toolchains, AnEmptyHomeSaysWhatTheScreenLooksFor) {
  FakeHome home;
  const auto result = Toolchains::scan(inputFor(home), linuxDevToolTables());
  EXPECT_THAT(result.groups, IsEmpty());
  ASSERT_TRUE(result.note.has_value());
  EXPECT_EQ(result.note->rfind("No toolchains found. Tidewarden looks for Node.js \u00b7 nvm, ", 0), 0u)
      << *result.note;
}

}  // namespace
}  // namespace tw::test
