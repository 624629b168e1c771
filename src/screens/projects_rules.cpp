#include <unordered_map>

#include "core/package_folders.h"
#include "fs/file_io.h"
#include "screens/project_kinds.h"
#include "screens/projects.h"

namespace tw {
namespace {

std::vector<Projects::Rule> makeRules() {
  const std::string dependencies = "Dependencies \u00b7 reinstall with npm/yarn/pnpm/bun install";
  return {
      {{"node_modules"}, {"package.json"}, std::nullopt, dependencies},
      {{".next", ".nuxt", ".svelte-kit", ".turbo", ".expo", ".parcel-cache", ".angular", ".output", ".docusaurus",
        ".vite", ".astro"},
       {"package.json"},
       std::nullopt,
       "Framework build cache \u00b7 rebuilt on next dev/build"},
      {{"target"}, {"Cargo.toml", "pom.xml"}, std::nullopt, "Rust/Maven build output \u00b7 rebuilt on next build"},
      {{"Pods"}, {"Podfile"}, std::nullopt, "CocoaPods \u00b7 restore with pod install"},
      {{"build"},
       {"build.gradle", "build.gradle.kts", "pubspec.yaml", ".xcodeproj"},
       std::nullopt,
       "Build output \u00b7 rebuilt on next build"},
      {{".gradle"},
       {"build.gradle", "build.gradle.kts", "settings.gradle", "settings.gradle.kts"},
       std::nullopt,
       "Gradle project cache"},
      {{".cxx"}, {"build.gradle", "build.gradle.kts"}, std::nullopt, "Android native build cache"},
      {{".build"}, {"Package.swift"}, std::nullopt, "Swift Package build output"},
      {{"DerivedData"}, {}, std::nullopt, "Xcode build output"},
      {{".dart_tool"}, {"pubspec.yaml"}, std::nullopt, "Dart tool cache \u00b7 restore with flutter pub get"},
      {{".venv", "venv"}, {}, "pyvenv.cfg", "Python virtualenv \u00b7 recreate with uv sync / pip install"},
      {{".tox", ".pytest_cache", ".mypy_cache", ".ruff_cache"}, {}, std::nullopt, "Python tool cache"},
      {{"Library", "Temp", "Logs"}, {"ProjectSettings"}, std::nullopt, "Unity cache \u00b7 reimported on next open"},
      {{".godot"}, {"project.godot"}, std::nullopt, "Godot import cache"},
      {{"bin", "obj"}, {".csproj", ".fsproj"}, std::nullopt, ".NET build output"},
      {{"coverage"}, {"package.json"}, std::nullopt, "Test coverage report"},
  };
}

bool satisfied(const std::string& requirement, const Projects::Names& siblings) {
  if (!requirement.starts_with('.')) return siblings.contains(requirement);
  for (const auto& sibling : siblings) {
    if (sibling.ends_with(requirement)) return true;
  }
  return false;
}

bool anySatisfied(const std::vector<std::string>& requirements, const Projects::Names& siblings) {
  if (requirements.empty()) return true;
  for (const auto& requirement : requirements) {
    if (satisfied(requirement, siblings)) return true;
  }
  return false;
}

std::set<std::string> withPlatformNames(const std::set<std::string>& added, std::set<std::string> names) {
  names.insert(added.begin(), added.end());
  return names;
}

}  // namespace

const std::vector<Projects::Rule>& Projects::rules() {
  static const std::vector<Rule> table = [] {
    auto rules = makeRules();
    const auto& added = platformProjectKinds().rules;
    rules.insert(rules.end(), added.begin(), added.end());
    return rules;
  }();
  return table;
}

const std::set<std::string>& Projects::manifests() {
  static const std::set<std::string> names = withPlatformNames(platformProjectKinds().manifests, {
                                                                                                     "package.json",
                                                                                                     "Cargo.toml",
                                                                                                     "pubspec.yaml",
                                                                                                     "Podfile",
                                                                                                     "build.gradle",
                                                                                                     "build.gradle.kts",
                                                                                                     "settings.gradle",
                                                                                                     "pom.xml",
                                                                                                     "pyproject.toml",
                                                                                                     "requirements.txt",
                                                                                                     "Package.swift",
                                                                                                     "go.mod",
                                                                                                     "Gemfile",
                                                                                                     "project.godot",
                                                                                                     "composer.json",
                                                                                                     "ProjectSettings",
                                                                                                 });
  return names;
}

const std::set<std::string>& Projects::skip() {
  static const std::set<std::string> names = withPlatformNames(
      platformProjectKinds().skip, {"Library", "Applications", "Movies", "Music", "Pictures", "node_modules"});
  return names;
}

const std::set<std::string>& Projects::bundleExts() { return packageFolderExtensions(); }

namespace {

struct RuleIndex {
  std::unordered_map<std::string, std::vector<const Projects::Rule*>> byName;
  std::vector<std::pair<std::string, const Projects::Rule*>> byPrefix;
};

// The rules that name each folder name, in table order: the walk asks about every folder
// it meets, and nearly all of them name no rule at all. A name ending in "*" is a prefix.
const RuleIndex& ruleIndex() {
  static const auto index = [] {
    RuleIndex rules;
    for (const auto& rule : Projects::rules()) {
      for (const auto& name : rule.names) {
        if (name.ends_with('*')) {
          rules.byPrefix.emplace_back(name.substr(0, name.size() - 1), &rule);
        } else {
          rules.byName[name].push_back(&rule);
        }
      }
    }
    return rules;
  }();
  return index;
}

bool namedBy(const std::string& prefix, const std::string& name) {
  return name.size() > prefix.size() && name.starts_with(prefix);
}

bool applies(const Projects::Rule& rule, const Projects::Names& siblings, const std::string& path) {
  if (!anySatisfied(rule.requirements, siblings)) return false;
  return !rule.contains || pathExists(path + "/" + *rule.contains);
}

}  // namespace

bool Projects::anyRuleNames(const std::string& name) {
  const auto& index = ruleIndex();
  if (index.byName.contains(name)) return true;
  for (const auto& [prefix, rule] : index.byPrefix) {
    if (namedBy(prefix, name)) return true;
  }
  return false;
}

const Projects::Rule* Projects::match(const std::string& name, const Names& siblings, const std::string& path) {
  // Exact names before prefixes: no prefix stands in a rule before one naming the same folder.
  const auto& index = ruleIndex();
  if (const auto named = index.byName.find(name); named != index.byName.end()) {
    for (const Rule* rule : named->second) {
      if (applies(*rule, siblings, path)) return rule;
    }
  }
  for (const auto& [prefix, rule] : index.byPrefix) {
    if (namedBy(prefix, name) && applies(*rule, siblings, path)) return rule;
  }
  return nullptr;
}

}  // namespace tw
