#pragma once

// Fake homes holding real layouts of version managers, IDEs and emulators, stand-in tools
// that record how they were called, and a readable summary of what a screen offers.
// Shared by the screen tests and the command-line tests.

#include <sys/stat.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "core/dev_group.h"
#include "screens/dev_tools_input.h"
#include "support/fake_home.h"

namespace tw::test {

inline constexpr std::int64_t oneDay = 86400;

// A version folder whose program last ran `daysAgo` days ago; `bytes` of it on disk.
inline std::string toolVersion(FakeHome& home, const std::string& folder, const std::string& program, int daysAgo,
                               std::int64_t bytes = 40'000) {
  const std::string probe = home.file(folder + "/" + program, bytes);
  setModificationTime(probe, daysAgo * oneDay);
  return home / folder;
}

// Every stand-in appends one line to ~/tool-calls: its name, then each argument in brackets.
inline const char* recordCall =
    R"sh({ printf '%s' "$(basename "$0")"; printf ' [%s]' "$@"; echo; } >> "$HOME/tool-calls")sh";

// A stand-in tool at `relative` that records its call and then runs `then`.
inline std::string standIn(FakeHome& home, const std::string& relative, const std::string& then = "") {
  return writeExecutable(home / relative, std::string("#!/bin/sh\n") + recordCall + "\n" + then + "\n");
}

// A shell function file (nvm.sh, sdkman-init.sh) defining `name` as a recording stand-in.
inline void standInFunction(FakeHome& home, const std::string& relative, const std::string& name,
                            const std::string& then) {
  writeFile(home / relative, name + "() {\n  { printf '" + name +
                                 "'; printf ' [%s]' \"$@\"; echo; } >> \"$HOME/tool-calls\"\n  " + then + "\n}\n");
}

inline std::vector<std::string> toolCalls(const FakeHome& home) {
  std::vector<std::string> lines;
  std::string text = readFile(home / "tool-calls"), line;
  for (const char c : text) {
    if (c == '\n') {
      lines.push_back(line);
      line.clear();
    } else {
      line += c;
    }
  }
  return lines;
}

// Finds stand-ins in the fake home's ~/.local/bin only, and a real shell for the
// managers that are shell functions, so no tool of this machine takes part.
inline ToolLookup standInLookup(const FakeHome& home) {
  const std::string folder = home / ".local/bin";
  return [folder](const std::string& name) -> std::optional<std::string> {
    if (isExecutableFile(folder + "/" + name)) return folder + "/" + name;
    if (name == "bash" && isExecutableFile("/bin/bash")) return std::string("/bin/bash");
    return std::nullopt;
  };
}

// The context a screen scan of this fake home runs in: the fake home's folders and stores,
// a plain PATH and the given extra variables, and nothing else of this process's environment.
inline Context contextFor(const FakeHome& home, std::map<std::string, std::string> env = {}) {
  env.emplace("HOME", home.path());
  env.emplace("PATH", "/usr/bin:/bin");
  Context context = Context::fromEnvironment(std::move(env));
  const Context stores = home.context();
  context.settings = stores.settings;
  context.history = stores.history;
  return context;
}

// What a screen scan sees: contextFor's context, the project roots (the fake home when
// none are given) and stand-in tools only.
inline DevToolsInput inputFor(const FakeHome& home, std::map<std::string, std::string> env = {},
                              std::vector<std::string> roots = {}) {
  if (roots.empty()) roots = {home.path()};
  DevToolsInput input;
  input.context = contextFor(home, std::move(env));
  input.projectRoots = std::move(roots);
  input.findTool = standInLookup(home);
  return input;
}

inline std::string badgeText(const std::vector<Badge>& badges) {
  std::string text;
  for (const auto& badge : badges) text += " [" + badge.text + "]";
  return text;
}

// Each group as "id: name* [badge], name [badge]" with names sorted, "*" marking the
// pre-selected ones.
inline std::vector<std::string> summaries(const ProviderResult& result) {
  std::vector<std::string> lines;
  for (const auto& group : result.groups) {
    std::vector<std::string> items;
    for (const auto& item : group->items()) {
      items.push_back(item.name + (item.selected ? "*" : "") + badgeText(item.badges));
    }
    std::sort(items.begin(), items.end());
    std::string line = group->id + ":";
    for (std::size_t i = 0; i < items.size(); ++i) line += (i == 0 ? " " : ", ") + items[i];
    lines.push_back(line);
  }
  return lines;
}

inline const DevItem* itemNamed(const ProviderResult& result, const std::string& name) {
  for (const auto& group : result.groups) {
    for (const auto& item : group->items()) {
      if (item.name == name) return &item;
    }
  }
  return nullptr;
}

// The item is offered, marked as used by a running program, and not ticked.
inline void expectMarkedInUse(const ProviderResult& result, const std::string& name) {
  const auto* used = itemNamed(result, name);
  ASSERT_NE(used, nullptr) << name;
  EXPECT_FALSE(used->selected) << name;
  EXPECT_NE(badgeText(used->badges).find("[in use]"), std::string::npos) << name;
  EXPECT_EQ(used->warning, "A running program uses this right now.") << name;
}

inline const DevGroupPtr groupWithId(const ProviderResult& result, const std::string& id) {
  for (const auto& group : result.groups) {
    if (group->id == id) return group;
  }
  return nullptr;
}

inline std::vector<std::vector<std::string>> commandsOf(const DevItem& item) {
  const auto* commands = std::get_if<DevAction::Commands>(&item.action.value);
  return commands != nullptr ? commands->commands : std::vector<std::vector<std::string>>{};
}

// Performs every pre-selected item's action in `context`, as `clean --selected --yes`
// does; the ids of the items, in order.
inline std::vector<std::string> performPreselected(const ProviderResult& result, const Context& context) {
  std::vector<std::string> performed;
  for (const auto& group : result.groups) {
    for (const auto& item : group->items()) {
      if (!item.selected) continue;
      EXPECT_EQ(item.action.perform(context).error(), std::nullopt) << item.name;
      performed.push_back(item.id);
    }
  }
  return performed;
}

inline void expectNothingPreselected(const ProviderResult& result) {
  for (const auto& group : result.groups) {
    for (const auto& item : group->items()) EXPECT_FALSE(item.selected) << group->id << " " << item.name;
  }
}

// A project folder under ~/code that git would call a repository.
inline std::string project(FakeHome& home, const std::string& name) {
  home.folder("code/" + name + "/.git");
  return home / ("code/" + name);
}

// Version managers as a developer's home holds them: nvm with an alias chain and a
// version pinned through an LTS alias, pyenv with a virtualenv's base version, rustup with
// a default and a folder override, SDKMAN with "current" links. In each, one version is
// idle for 200 days and nothing relies on it; the rest are relied on or recent.
inline void stockToolchainHome(FakeHome& home) {
  // nvm: default -> "work" -> "20" -> v20.11.0; web pins lts/hydrogen -> v18.19.0.
  toolVersion(home, ".nvm/versions/node/v16.20.2", "bin/node", 200, 50'000);
  toolVersion(home, ".nvm/versions/node/v18.19.0", "bin/node", 200, 60'000);
  toolVersion(home, ".nvm/versions/node/v20.11.0", "bin/node", 200, 70'000);
  toolVersion(home, ".nvm/versions/node/v21.6.1", "bin/node", 2, 80'000);
  home.fileWithContents(".nvm/alias/default", "work\n");
  home.fileWithContents(".nvm/alias/work", "20\n");
  home.fileWithContents(".nvm/alias/lts/hydrogen", "v18.19.0\n");
  standInFunction(home, ".nvm/nvm.sh", "nvm", R"(rm -rf "$NVM_DIR/versions/node/$2")");
  home.fileWithContents("code/web/.nvmrc", "lts/hydrogen\n");
  project(home, "web");

  // pyenv: global "3.11" -> 3.11.7; api pins 3.12; ml's virtualenv was made from 3.10.13.
  toolVersion(home, ".pyenv/versions/3.8.18", "bin/python", 200, 50'000);
  toolVersion(home, ".pyenv/versions/3.10.13", "bin/python", 200, 60'000);
  toolVersion(home, ".pyenv/versions/3.11.7", "bin/python", 200, 70'000);
  toolVersion(home, ".pyenv/versions/3.12.1", "bin/python", 200, 80'000);
  home.fileWithContents(".pyenv/version", "3.11\n");
  standIn(home, ".pyenv/bin/pyenv", R"(rm -rf "$HOME/.pyenv/versions/$3")");
  home.fileWithContents("code/api/.python-version", "3.12\n");
  project(home, "api");
  home.fileWithContents("code/ml/.venv/pyvenv.cfg", "home = " + home.path() + "/.pyenv/versions/3.10.13/bin\n");
  project(home, "ml");

  // rustup: stable by default, 1.70.0 pinned by api, 1.65.0 set for legacy by override.
  const std::string host = "-x86_64-unknown-linux-gnu";
  toolVersion(home, ".rustup/toolchains/stable" + host, "bin/rustc", 200, 50'000);
  toolVersion(home, ".rustup/toolchains/1.70.0" + host, "bin/rustc", 200, 60'000);
  toolVersion(home, ".rustup/toolchains/1.65.0" + host, "bin/rustc", 200, 70'000);
  toolVersion(home, ".rustup/toolchains/nightly-2023-01-01" + host, "bin/rustc", 200, 80'000);
  home.fileWithContents(".rustup/settings.toml", "version = \"12\"\ndefault_toolchain = \"stable" + host +
                                                     "\"\n\n[overrides]\n\"" + home.path() +
                                                     "/code/legacy\" = \"1.65.0" + host + "\"\n");
  standIn(home, ".cargo/bin/rustup", R"(rm -rf "$HOME/.rustup/toolchains/$3")");
  home.fileWithContents("code/api/rust-toolchain.toml", "[toolchain]\nchannel = \"1.70.0\"\n");

  // SDKMAN: java 17 and gradle 8.5 current; api pins java 21; java 11 and gradle 7.6 idle.
  for (const auto& [candidate, version, program] :
       std::vector<std::tuple<std::string, std::string, std::string>>{{"java", "11.0.21-tem", "bin/java"},
                                                                      {"java", "17.0.9-tem", "bin/java"},
                                                                      {"java", "21.0.1-tem", "bin/java"},
                                                                      {"gradle", "7.6", "bin/gradle"},
                                                                      {"gradle", "8.5", "bin/gradle"}}) {
    toolVersion(home, ".sdkman/candidates/" + candidate + "/" + version, program, 200);
  }
  EXPECT_EQ(::symlink("17.0.9-tem", (home / ".sdkman/candidates/java/current").c_str()), 0);
  EXPECT_EQ(
      ::symlink((home / ".sdkman/candidates/gradle/8.5").c_str(), (home / ".sdkman/candidates/gradle/current").c_str()),
      0);
  standInFunction(home, ".sdkman/bin/sdkman-init.sh", "sdk", R"(rm -rf "$SDKMAN_DIR/candidates/$2/$3")");
  home.fileWithContents("code/api/.sdkmanrc", "# the JDK we build with\njava=21.0.1-tem\n");
}

}  // namespace tw::test

namespace tw::test {

// JetBrains IDEs with three versions of two products and two of Android Studio, VS Code
// with ".obsolete", three versions of one extension, a downgraded one and workspace data of
// deleted and existing projects, and Gradle distributions one project names and two nobody does.
inline void stockIDEHome(FakeHome& home) {
  for (const std::string version : {"2022.3", "2023.2", "2023.3"}) {
    home.file(".config/JetBrains/IntelliJIdea" + version + "/options/keymap.xml", 8'000);
    home.file(".cache/JetBrains/IntelliJIdea" + version + "/index/data", 90'000);
    home.file(".local/share/JetBrains/IntelliJIdea" + version + "/kotlin/lib/kotlin.jar", 30'000);
    home.file(".local/share/JetBrains/IntelliJIdea" + version + "/rust/lib/rust.jar", 30'000);
  }
  for (const std::string version : {"2022.1", "2023.1", "2023.3"}) {
    home.file(".config/JetBrains/PyCharmCE" + version + "/options/ui.xml", 6'000);
    home.file(".cache/JetBrains/PyCharmCE" + version + "/caches/x", 50'000);
  }
  home.file(".config/Google/AndroidStudio2022.2/options/a.xml", 6'000);
  home.file(".config/Google/AndroidStudio2023.1/options/a.xml", 6'000);
  home.file(".local/share/JetBrains/Toolbox/apps/state.json", 4'000);
  home.file(".config/JetBrains/consentOptions/accepted", 100);

  for (const std::string name :
       {"ms-python.python-2023.20.0", "ms-python.python-2023.22.0", "ms-python.python-2024.0.1",
        "esbenp.prettier-vscode-10.1.0", "ms-vscode.cpptools-1.17.5-linux-x64", "ms-vscode.cpptools-1.18.5-linux-x64",
        "golang.go-0.40.0", "golang.go-0.41.0"}) {
    home.file(".vscode/extensions/" + name + "/package.json", 20'000);
  }
  home.fileWithContents(".vscode/extensions/.obsolete", R"({"ms-vscode.cpptools-1.17.5-linux-x64": true})");
  home.fileWithContents(".vscode/extensions/extensions.json",
                        R"([{"identifier": {"id": "ms-python.python"}, "relativeLocation": "ms-python.python-2024.0.1"},
                            {"identifier": {"id": "esbenp.prettier-vscode"}, "relativeLocation": "esbenp.prettier-vscode-10.1.0"},
                            {"identifier": {"id": "ms-vscode.cpptools"}, "relativeLocation": "ms-vscode.cpptools-1.18.5-linux-x64"},
                            {"identifier": {"id": "golang.go"}, "relativeLocation": "golang.go-0.40.0"}])");
  const auto workspace = [&](const std::string& id, const std::string& json) {
    home.fileWithContents(".config/Code/User/workspaceStorage/" + id + "/workspace.json", json);
    home.file(".config/Code/User/workspaceStorage/" + id + "/state.vscdb", 12'000);
  };
  project(home, "web");
  workspace("a1", R"({"folder": "file://)" + home.path() + R"(/code/gone"})");
  workspace("b2", R"({"folder": "file://)" + home.path() + R"(/code/web"})");
  workspace("c3", R"({"folder": "file:///media/usb/old-project"})");
  workspace("d4", R"({"folder": "vscode-remote://ssh-remote%2Bbox/home/me/app"})");
  workspace("e5", "{ damaged");
  workspace("f6", R"({"workspace": "file://)" + home.path() + R"(/code/My%20Gone/all.code-workspace"})");
  home.file(".config/Code/Cache/data_1", 30'000);
  home.file(".config/Code/CachedData/1a2b3c/chrome.bin", 40'000);
  home.file(".config/Code/logs/20240101T100000/main.log", 5'000);
  home.file(".config/Code/User/settings.json", 300);

  for (const std::string dist : {"gradle-8.2-bin", "gradle-7.4-all", "gradle-6.9-bin"}) {
    const std::string version = dist.substr(7, dist.size() - 11);
    home.file(".gradle/wrapper/dists/" + dist + "/3k1x9/gradle-" + version + "/lib/gradle-core.jar", 60'000);
  }
  for (const std::string version : {"8.2", "7.4", "6.9"})
    home.file(".gradle/caches/" + version + "/generated/x", 25'000);
  home.file(".gradle/caches/modules-2/files-2.1/lib.jar", 70'000);
  home.file(".gradle/daemon/7.4/daemon-1.out.log", 9'000);
  home.fileWithContents("code/android/gradle/wrapper/gradle-wrapper.properties",
                        "distributionBase=GRADLE_USER_HOME\n"
                        "distributionUrl=https\\://services.gradle.org/distributions/gradle-8.2-bin.zip\n");
  home.file("code/android/settings.gradle", 40);
}

}  // namespace tw::test

namespace tw::test {

// An Android SDK with three system images and two virtual devices that both boot the same
// one (the second names it by an absolute path, and its .ini points somewhere it must not
// lead), snapshots of one device, and the SDK's avdmanager and sdkmanager as stand-ins.
inline void stockAndroidHome(FakeHome& home) {
  for (const std::string image :
       {"android-34/google_apis/x86_64", "android-30/default/x86_64", "android-33/google_apis_playstore/x86_64"}) {
    home.file("Android/Sdk/system-images/" + image + "/system.img", 70'000);
  }
  home.fileWithContents(".android/avd/Pixel_7.ini", "avd.ini.encoding=UTF-8\npath=" + home.path() +
                                                        "/.android/avd/Pixel_7.avd\npath.rel=avd/Pixel_7.avd\n");
  home.fileWithContents(
      ".android/avd/Pixel_7.avd/config.ini",
      "avd.ini.displayname=Pixel 7 API 34\nimage.sysdir.1=system-images/android-34/google_apis/x86_64/\n");
  home.file(".android/avd/Pixel_7.avd/userdata-qemu.img", 80'000);
  home.file(".android/avd/Pixel_7.avd/snapshots/default_boot/ram.bin", 50'000);
  home.file(".android/avd/Pixel_7.avd/snapshots/before-login/ram.bin", 30'000);
  home.fileWithContents(".android/avd/Tablet.ini", "path=/etc\n");
  home.fileWithContents(".android/avd/Tablet.avd/config.ini",
                        "image.sysdir.1=" + home.path() + "/Android/Sdk/system-images/android-34/google_apis/x86_64\n");
  home.file(".android/avd/Tablet.avd/userdata-qemu.img", 40'000);
  standIn(home, "Android/Sdk/cmdline-tools/latest/bin/avdmanager",
          R"(rm -rf "$HOME/.android/avd/$4.avd" "$HOME/.android/avd/$4.ini")");
  standIn(home, "Android/Sdk/cmdline-tools/latest/bin/sdkmanager",
          R"sh(rm -rf "${1#--sdk_root=}/$(echo "$3" | tr ';' '/')")sh");
}

}  // namespace tw::test
