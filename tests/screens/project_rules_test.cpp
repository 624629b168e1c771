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

}  // namespace

TEST(ProjectRules, BuildFolderCountsOnlyBesideSomethingThatBuildsIt) {
  EXPECT_EQ(hintFor("build", {"build", "MyApp.xcodeproj", "Sources"}), "Build output \u00b7 rebuilt on next build");
  EXPECT_EQ(hintFor("build", {"build", "build.gradle.kts"}), "Build output \u00b7 rebuilt on next build");
  EXPECT_EQ(hintFor("build", {"build", "pubspec.yaml"}), "Build output \u00b7 rebuilt on next build");
  // A readme, or a name that merely ends in the same letters without the dot, is no reason.
  EXPECT_EQ(hintFor("build", {"build", "README.md"}), "");
  EXPECT_EQ(hintFor("build", {"build", "notes-xcodeproj"}), "");
  EXPECT_EQ(hintFor("build", {}), "");
}

TEST(ProjectRules, NamesAreMatchedExactlyAndCaseSensitively) {
  EXPECT_EQ(hintFor("node_modules", {"package.json"}), "Dependencies \u00b7 reinstall with npm/yarn/pnpm/bun install");
  EXPECT_EQ(hintFor("Node_modules", {"package.json"}), "");
  EXPECT_EQ(hintFor("node_modules2", {"package.json"}), "");
  EXPECT_EQ(hintFor("Build", {"App.xcodeproj"}), "");
  EXPECT_EQ(hintFor("node_modules", {"Package.json"}), "");
}

TEST(ProjectRules, DependencyAndCacheFoldersNeedTheirManifest) {
  // Without a package.json beside it a node_modules folder is not known to be rebuildable.
  EXPECT_EQ(hintFor("node_modules", {"index.js"}), "");
  EXPECT_EQ(hintFor(".next", {"package.json"}), "Framework build cache \u00b7 rebuilt on next dev/build");
  EXPECT_EQ(hintFor(".svelte-kit", {"package.json"}), "Framework build cache \u00b7 rebuilt on next dev/build");
  EXPECT_EQ(hintFor(".next", {"README.md"}), "");
  EXPECT_EQ(hintFor("target", {"Cargo.toml"}), "Rust/Maven build output \u00b7 rebuilt on next build");
  EXPECT_EQ(hintFor("target", {"pom.xml"}), "Rust/Maven build output \u00b7 rebuilt on next build");
  EXPECT_EQ(hintFor("target", {"Makefile"}), "");
  EXPECT_EQ(hintFor("Pods", {"Podfile"}), "CocoaPods \u00b7 restore with pod install");
  EXPECT_EQ(hintFor(".gradle", {"settings.gradle.kts"}), "Gradle project cache");
  EXPECT_EQ(hintFor(".build", {"Package.swift"}), "Swift Package build output");
  EXPECT_EQ(hintFor(".dart_tool", {"pubspec.yaml"}), "Dart tool cache \u00b7 restore with flutter pub get");
  EXPECT_EQ(hintFor(".godot", {"project.godot"}), "Godot import cache");
  EXPECT_EQ(hintFor("coverage", {"package.json"}), "Test coverage report");
  EXPECT_EQ(hintFor("coverage", {"setup.py"}), "");
}

TEST(ProjectRules, UnityFoldersNeverMatchAHomeLibrary) {
  EXPECT_EQ(hintFor("Library", {"Assets", "ProjectSettings"}), "Unity cache \u00b7 reimported on next open");
  EXPECT_EQ(hintFor("Logs", {"ProjectSettings"}), "Unity cache \u00b7 reimported on next open");
  EXPECT_EQ(hintFor("Library", {"Desktop", "Documents", "Pictures"}), "");
}

TEST(ProjectRules, DotNetOutputNeedsAProjectFileBySuffix) {
  EXPECT_EQ(hintFor("bin", {"App.csproj"}), ".NET build output");
  EXPECT_EQ(hintFor("obj", {"Lib.fsproj"}), ".NET build output");
  EXPECT_EQ(hintFor("bin", {"Makefile", "src"}), "");
}

TEST(ProjectRules, FoldersWithoutRequirementsMatchAnywhere) {
  EXPECT_EQ(hintFor("DerivedData", {}), "Xcode build output");
  EXPECT_EQ(hintFor(".pytest_cache", {"anything"}), "Python tool cache");
  EXPECT_EQ(hintFor(".ruff_cache", {}), "Python tool cache");
}

TEST(ProjectRules, VirtualenvCountsOnlyWhenItHoldsPyvenvCfg) {
  FakeHome home;
  const std::string withConfig = home.folder("py/.venv");
  writeFile(withConfig + "/pyvenv.cfg", "home = /usr/bin\n");
  const std::string withoutConfig = home.folder("other/.venv");
  writeFile(withoutConfig + "/notes.txt", "my own folder\n");
  const std::string plainVenv = home.folder("third/venv");
  writeFile(plainVenv + "/pyvenv.cfg", "");

  EXPECT_EQ(hintFor(".venv", {".venv"}, withConfig), "Python virtualenv \u00b7 recreate with uv sync / pip install");
  EXPECT_EQ(hintFor("venv", {"venv"}, plainVenv), "Python virtualenv \u00b7 recreate with uv sync / pip install");
  EXPECT_EQ(hintFor(".venv", {".venv", "pyproject.toml"}, withoutConfig), "");
  EXPECT_EQ(hintFor(".venv", {".venv"}, home / "missing/.venv"), "");
}

TEST(ProjectRules, TablesHoldWhatTheWalkersRelyOn) {
  EXPECT_EQ(Projects::rules().size(), 16u);
  EXPECT_TRUE(Projects::manifests().contains("ProjectSettings"));
  EXPECT_TRUE(Projects::manifests().contains("go.mod"));
  EXPECT_FALSE(Projects::manifests().contains("README.md"));
  EXPECT_TRUE(Projects::skip().contains("node_modules"));
  EXPECT_TRUE(Projects::bundleExts().contains("xcodeproj"));
  // Extensions are compared lower-cased, so the set itself must be lower case.
  for (const auto& extension : Projects::bundleExts()) EXPECT_EQ(extension, lowercased(extension));
}

}  // namespace tw::test
