#include <gtest/gtest.h>

#include "core/text.h"
#include "screens/projects.h"
#include "support/fake_home.h"

namespace tw::test {
namespace {

// The hint of the rule a folder matches, or "" when it matches none.
std::string hintFor(const std::string& name, const Projects::Names& siblings, const std::string& path = "/nowhere") {
  const auto* rule = Projects::match(name, siblings, path);
  return rule != nullptr ? rule->hint : "";
}

std::string listed(const Projects::Names& names) {
  std::string text;
  for (const auto& name : names) text += " " + name;
  return text;
}

}  // namespace

TEST(ProjectRules, FoldersMatchByExactNameAndOnlyBesideWhatRebuildsThem) {
  const std::string build = "Build output \u00b7 rebuilt on next build";
  const std::string npm = "Dependencies \u00b7 reinstall with npm/yarn/pnpm/bun install";
  const std::string framework = "Framework build cache \u00b7 rebuilt on next dev/build";
  const std::string rustMaven = "Rust/Maven build output \u00b7 rebuilt on next build";
  const std::string unity = "Unity cache \u00b7 reimported on next open";
  const struct {
    std::string name;
    Projects::Names siblings;
    std::string hint;  // "" when the folder must not be offered
  } cases[] = {
      {"build", {"build", "MyApp.xcodeproj", "Sources"}, build},
      {"build", {"build", "build.gradle.kts"}, build},
      {"build", {"build", "pubspec.yaml"}, build},
      // A readme, or a name that merely ends in the same letters without the dot, is no reason.
      {"build", {"build", "README.md"}, ""},
      {"build", {"build", "notes-xcodeproj"}, ""},
      {"build", {}, ""},
      {"Build", {"App.xcodeproj"}, ""},
      {"node_modules", {"package.json"}, npm},
      {"Node_modules", {"package.json"}, ""},
      {"node_modules2", {"package.json"}, ""},
      {"node_modules", {"Package.json"}, ""},
      {"node_modules", {"index.js"}, ""},
      {".next", {"package.json"}, framework},
      {".svelte-kit", {"package.json"}, framework},
      {".next", {"README.md"}, ""},
      {"target", {"Cargo.toml"}, rustMaven},
      {"target", {"pom.xml"}, rustMaven},
      {"target", {"Makefile"}, ""},
      {"Pods", {"Podfile"}, "CocoaPods \u00b7 restore with pod install"},
      {".gradle", {"settings.gradle.kts"}, "Gradle project cache"},
      {".build", {"Package.swift"}, "Swift Package build output"},
      {".dart_tool", {"pubspec.yaml"}, "Dart tool cache \u00b7 restore with flutter pub get"},
      {".godot", {"project.godot"}, "Godot import cache"},
      {"coverage", {"package.json"}, "Test coverage report"},
      {"coverage", {"setup.py"}, ""},
      // Unity's folders, never the Library of a home folder.
      {"Library", {"Assets", "ProjectSettings"}, unity},
      {"Logs", {"ProjectSettings"}, unity},
      {"Library", {"Desktop", "Documents", "Pictures"}, ""},
      {"bin", {"App.csproj"}, ".NET build output"},
      {"obj", {"Lib.fsproj"}, ".NET build output"},
      {"bin", {"Makefile", "src"}, ""},
      {"DerivedData", {}, "Xcode build output"},
      {".pytest_cache", {"anything"}, "Python tool cache"},
      {".ruff_cache", {}, "Python tool cache"},
  };
  for (const auto& [name, siblings, hint] : cases) {
    EXPECT_EQ(hintFor(name, siblings), hint) << name << " beside" << listed(siblings);
  }
  // Package extensions are compared lower-cased, so the set itself must be lower case.
  for (const auto& extension : Projects::bundleExts()) EXPECT_EQ(extension, lowercased(extension));
}

TEST(ProjectRules, VirtualenvCountsOnlyWhenItHoldsPyvenvCfg) {
  FakeHome home;
  const std::string venvHint = "Python virtualenv \u00b7 recreate with uv sync / pip install";
  home.fileWithContents("py/.venv/pyvenv.cfg", "home = /usr/bin\n");
  home.fileWithContents("third/venv/pyvenv.cfg", "");
  home.fileWithContents("other/.venv/notes.txt", "my own folder\n");

  EXPECT_EQ(hintFor(".venv", {".venv"}, home / "py/.venv"), venvHint);
  EXPECT_EQ(hintFor("venv", {"venv"}, home / "third/venv"), venvHint);
  EXPECT_EQ(hintFor(".venv", {".venv", "pyproject.toml"}, home / "other/.venv"), "");
  EXPECT_EQ(hintFor(".venv", {".venv"}, home / "missing/.venv"), "");
}

}  // namespace tw::test
