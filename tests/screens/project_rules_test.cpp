#include <gtest/gtest.h>

#include "core/text.h"
#include "screens/projects.h"
#include "support/fake_home.h"

namespace tw::test {
namespace {}  // namespace

// Rules whose hits the walker and command tests already pin down (node_modules, .next,
// target, build beside an Xcode project, Pods, DerivedData, .pytest_cache, coverage, .venv
// with and without pyvenv.cfg) are not repeated here.
TEST(ProjectRules, FoldersMatchByExactNameAndOnlyBesideWhatRebuildsThem) {
  FakeHome home;
  home.fileWithContents("third/venv/pyvenv.cfg", "");
  const std::string build = "Build output \u00b7 rebuilt on next build";
  const std::string unity = "Unity cache \u00b7 reimported on next open";
  const struct {
    std::string name;
    Projects::Names siblings;
    std::string hint;       // "" when the folder must not be offered
    std::string path = "";  // where the folder is, for rules that look inside it
  } cases[] = {
      {"build", {"build", "build.gradle.kts"}, build},
      {"build", {"build", "pubspec.yaml"}, build},
      // A name that merely ends in the same letters without the dot is no reason.
      {"build", {"build", "notes-xcodeproj"}, ""},
      {"build", {}, ""},
      {"Build", {"App.xcodeproj"}, ""},
      {"Node_modules", {"package.json"}, ""},
      {"node_modules2", {"package.json"}, ""},
      {"node_modules", {"Package.json"}, ""},
      {".svelte-kit", {"package.json"}, "Framework build cache \u00b7 rebuilt on next dev/build"},
      {".next", {"README.md"}, ""},
      {"target", {"pom.xml"}, "Rust/Maven build output \u00b7 rebuilt on next build"},
      {"target", {"Makefile"}, ""},
      {".gradle", {"settings.gradle.kts"}, "Gradle project cache"},
      {".build", {"Package.swift"}, "Swift Package build output"},
      {".dart_tool", {"pubspec.yaml"}, "Dart tool cache \u00b7 restore with flutter pub get"},
      {".godot", {"project.godot"}, "Godot import cache"},
      {"coverage", {"setup.py"}, ""},
      // Unity's folders, never the Library of a home folder.
      {"Library", {"Assets", "ProjectSettings"}, unity},
      {"Logs", {"ProjectSettings"}, unity},
      {"Library", {"Desktop", "Documents", "Pictures"}, ""},
      {"bin", {"App.csproj"}, ".NET build output"},
      {"obj", {"Lib.fsproj"}, ".NET build output"},
      {"bin", {"Makefile", "src"}, ""},
      {".ruff_cache", {}, "Python tool cache"},
      {"venv", {"venv"}, "Python virtualenv \u00b7 recreate with uv sync / pip install", "third/venv"},
  };
  for (const auto& [name, siblings, hint, path] : cases) {
    const auto* rule = Projects::match(name, siblings, home / (path.empty() ? "nowhere" : path));
    EXPECT_EQ(rule != nullptr ? rule->hint : "", hint)
        << name << " beside " << ::testing::PrintToString(siblings) << " at " << path;
  }
  // Package extensions are compared lower-cased, so the set itself must be lower case.
  for (const auto& extension : Projects::bundleExts()) EXPECT_EQ(extension, lowercased(extension));
}

}  // namespace tw::test
