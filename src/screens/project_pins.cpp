// Reading the files in which projects name the tool versions they need. Every file is
// read bounded and only if it is a regular file; a link is read at its target (monorepos
// link one ".nvmrc" into every package). A file that is there but cannot be read is
// remembered, so the screens can fail closed for its languages.

#include "screens/project_pins.h"

#include <sys/stat.h>

#include <functional>
#include <map>
#include <regex>
#include <sstream>
#include <unordered_set>

#include <toml++/toml.h>
#include <nlohmann/json.hpp>

#include "core/concurrent.h"
#include "core/text.h"
#include "fs/file_io.h"
#include "fs/path.h"
#include "fs/regular_file.h"
#include "fs/usage.h"

namespace tw {
namespace {

constexpr std::size_t maxPinFileBytes = 256 * 1024;

// The languages a file could pin, for failing closed when it cannot be read.
const std::set<std::string> toolVersionsLanguages{"node", "python", "ruby", "rust", "go", "flutter", "sdkman"};

// asdf and mise plugin names, as the screens name the languages.
const std::map<std::string, std::string> toolVersionsPlugins{
    {"nodejs", "node"}, {"node", "node"},     {"python", "python"},   {"ruby", "ruby"}, {"rust", "rust"},
    {"golang", "go"},   {"go", "go"},         {"flutter", "flutter"}, {"java", "java"}, {"gradle", "gradle"},
    {"maven", "maven"}, {"kotlin", "kotlin"}, {"scala", "scala"},     {"sbt", "sbt"}};

using Pins = std::vector<ProjectPin>;

std::string withoutComment(const std::string& line) { return trimmed(line.substr(0, line.find('#'))); }

// The first line that says something (".nvmrc", ".ruby-version").
void firstLine(const std::string& text, const std::string& language, Pins& out, const ProjectPin& base) {
  for (const auto& line : splitLines(text)) {
    const std::string value = withoutComment(line);
    if (value.empty()) continue;
    out.push_back({language, value, base.project, base.file});
    return;
  }
}

// Every line (".python-version" may name several).
void everyLine(const std::string& text, const std::string& language, Pins& out, const ProjectPin& base) {
  for (const auto& line : splitLines(text)) {
    const std::string value = withoutComment(line);
    if (!value.empty()) out.push_back({language, value, base.project, base.file});
  }
}

bool sdkmanrc(const std::string& text, Pins& out, const ProjectPin& base) {
  for (const auto& line : splitLines(text)) {
    const std::string entry = withoutComment(line);
    const std::size_t equals = entry.find('=');
    if (equals == std::string::npos) continue;
    const std::string candidate = trimmed(entry.substr(0, equals)), version = trimmed(entry.substr(equals + 1));
    if (!candidate.empty() && !version.empty()) out.push_back({candidate, version, base.project, base.file});
  }
  return true;
}

bool toolVersions(const std::string& text, Pins& out, const ProjectPin& base) {
  for (const auto& line : splitLines(text)) {
    std::istringstream words(withoutComment(line));
    std::string plugin, version;
    words >> plugin;
    const auto language = toolVersionsPlugins.find(plugin);
    if (language == toolVersionsPlugins.end()) continue;
    // Later words are fallbacks the tool may use as well.
    while (words >> version) {
      if (version != "system") out.push_back({language->second, version, base.project, base.file});
    }
  }
  return true;
}

bool rustToolchain(const std::string& text, Pins& out, const ProjectPin& base) {
  const bool tomlForm = base.file.ends_with(".toml") || text.find("[toolchain]") != std::string::npos;
  if (!tomlForm) {
    firstLine(text, "rust", out, base);
    return true;
  }
  try {
    auto table = toml::parse(text);
    if (const auto channel = table["toolchain"]["channel"].value<std::string>()) {
      out.push_back({"rust", trimmed(*channel), base.project, base.file});
    }
    return true;
  } catch (const toml::parse_error&) {
    return false;
  }
}

void goMod(const std::string& text, Pins& out, const ProjectPin& base) {
  for (const auto& line : splitLines(text)) {
    const std::string entry = withoutComment(line.substr(0, line.find("//")));
    std::string value;
    if (entry.starts_with("toolchain ")) value = trimmed(entry.substr(10));
    if (entry.starts_with("go ")) value = trimmed(entry.substr(3));
    if (value.starts_with("go")) value.erase(0, 2);
    if (!value.empty() && value != "default") out.push_back({"go", value, base.project, base.file});
  }
}

bool flutterConfig(const std::string& text, const char* key, Pins& out, const ProjectPin& base) {
  const auto json = nlohmann::json::parse(text, nullptr, false);
  if (json.is_discarded() || !json.is_object()) return false;
  if (json.contains(key) && json[key].is_string()) out.push_back({"flutter", json[key], base.project, base.file});
  return true;
}

// A virtualenv keeps using the interpreter it was made from: "home = /…/3.11.4/bin".
void virtualenvHome(const std::string& text, Pins& out, const ProjectPin& base) {
  for (const auto& line : splitLines(text)) {
    const std::size_t equals = line.find('=');
    if (equals == std::string::npos || trimmed(line.substr(0, equals)) != "home") continue;
    const std::string home = trimmed(line.substr(equals + 1));
    if (home.starts_with('/')) out.push_back({"python", home, base.project, base.file});
  }
}

// Volta pins Node.js in package.json: {"volta": {"node": "18.19.0"}}.
bool voltaPin(const std::string& text, Pins& out, const ProjectPin& base) {
  const auto json = nlohmann::json::parse(text, nullptr, false);
  if (json.is_discarded()) return false;
  const auto node = json.is_object() ? json.value("/volta/node"_json_pointer, nlohmann::json()) : nlohmann::json();
  if (node.is_string()) out.push_back({"node", node.get<std::string>(), base.project, base.file});
  return true;
}

void ndkVersions(const std::string& text, Pins& out, const ProjectPin& base) {
  static const std::regex ndkVersion(R"(ndkVersion\s*=?\s*\(?\s*["']([^"']+)["'])");
  for (std::sregex_iterator match(text.begin(), text.end(), ndkVersion), end; match != end; ++match) {
    out.push_back({"ndk", (*match)[1].str(), base.project, base.file});
  }
}

void gradleWrapper(const std::string& text, Pins& out, const ProjectPin& base) {
  for (const auto& line : splitLines(text)) {
    const std::string entry = trimmed(line);
    if (!entry.starts_with("distributionUrl")) continue;
    std::string name = lastPathComponent(entry);
    if (name.ends_with(".zip")) name.resize(name.size() - 4);
    if (!name.empty()) out.push_back({"gradle-wrapper", name, base.project, base.file});
  }
}

struct PinFile {
  std::string path;  // relative to the project
  std::set<std::string> languages;
  // Adds what the file says; false when its contents cannot be understood.
  std::function<bool(const std::string&, Pins&, const ProjectPin&)> parse;
};

const std::vector<PinFile>& pinFiles() {
  static const std::vector<PinFile> files{
      {".nvmrc", {"node"}, [](auto& t, auto& o, auto& b) { return firstLine(t, "node", o, b), true; }},
      {".node-version", {"node"}, [](auto& t, auto& o, auto& b) { return firstLine(t, "node", o, b), true; }},
      {"package.json", {"node"}, voltaPin},
      {".python-version", {"python"}, [](auto& t, auto& o, auto& b) { return everyLine(t, "python", o, b), true; }},
      {".venv/pyvenv.cfg", {"python"}, [](auto& t, auto& o, auto& b) { return virtualenvHome(t, o, b), true; }},
      {"venv/pyvenv.cfg", {"python"}, [](auto& t, auto& o, auto& b) { return virtualenvHome(t, o, b), true; }},
      {".ruby-version", {"ruby"}, [](auto& t, auto& o, auto& b) { return firstLine(t, "ruby", o, b), true; }},
      {"rust-toolchain.toml", {"rust"}, rustToolchain},
      {"rust-toolchain", {"rust"}, rustToolchain},
      {".sdkmanrc", {"sdkman"}, sdkmanrc},
      {".tool-versions", toolVersionsLanguages, toolVersions},
      {"go.mod", {"go"}, [](auto& t, auto& o, auto& b) { return goMod(t, o, b), true; }},
      {".fvmrc", {"flutter"}, [](auto& t, auto& o, auto& b) { return flutterConfig(t, "flutter", o, b); }},
      {".fvm/fvm_config.json",
       {"flutter"},
       [](auto& t, auto& o, auto& b) { return flutterConfig(t, "flutterSdkVersion", o, b); }},
      {"gradle/wrapper/gradle-wrapper.properties",
       {"gradle-wrapper"},
       [](auto& t, auto& o, auto& b) { return gradleWrapper(t, o, b), true; }},
      {"build.gradle", {"ndk"}, [](auto& t, auto& o, auto& b) { return ndkVersions(t, o, b), true; }},
      {"build.gradle.kts", {"ndk"}, [](auto& t, auto& o, auto& b) { return ndkVersions(t, o, b), true; }},
  };
  return files;
}

bool isGradleBuildFile(const std::string& name) { return name == "build.gradle" || name == "build.gradle.kts"; }

struct ProjectReader {
  const std::string& project;
  ProjectPins& found;

  void readFile(const PinFile& kind, const std::string& relative) {
    const std::string path = joinPath(project, relative);
    struct stat info {};
    if (::lstat(path.c_str(), &info) != 0) return;
    const ProjectPin base{"", "", project, relative};
    const auto target = S_ISLNK(info.st_mode) ? resolvedPath(path) : std::optional<std::string>(path);
    const auto text = target ? readRegularFile(*target, maxPinFileBytes) : std::nullopt;
    Pins pins;
    if (!text || !kind.parse(*text, pins, base)) {
      found.unreadable.push_back({kind.languages, project, relative});
      return;
    }
    std::move(pins.begin(), pins.end(), std::back_inserter(found.pins));
  }

  void run() {
    const auto entries = listFolder(project);
    if (!entries) return;
    std::unordered_set<std::string> names;
    for (const auto& entry : *entries) names.insert(entry.name);
    for (const auto& kind : pinFiles()) {
      const std::string top = kind.path.substr(0, kind.path.find('/'));
      if (names.contains(top)) readFile(kind, kind.path);
    }
    // Android modules keep their own build files one level down ("app/build.gradle").
    const bool gradleProject = names.contains("settings.gradle") || names.contains("settings.gradle.kts") ||
                               names.contains("build.gradle") || names.contains("build.gradle.kts");
    if (!gradleProject) return;
    for (const auto& entry : *entries) {
      if (!entry.isDir || entry.name.starts_with('.')) continue;
      for (const auto& kind : pinFiles()) {
        if (isGradleBuildFile(kind.path) && pathExists(joinPath(project, entry.name + "/" + kind.path))) {
          readFile(kind, entry.name + "/" + kind.path);
        }
      }
    }
  }
};

}  // namespace

ProjectPins ProjectPins::read(const std::vector<std::string>& projects) {
  std::vector<ProjectPins> each(projects.size());
  concurrentPerform(projects.size(), [&](std::size_t index) { ProjectReader{projects[index], each[index]}.run(); });
  ProjectPins all;
  for (auto& one : each) {
    std::move(one.pins.begin(), one.pins.end(), std::back_inserter(all.pins));
    std::move(one.unreadable.begin(), one.unreadable.end(), std::back_inserter(all.unreadable));
  }
  return all;
}

std::vector<ProjectPin> ProjectPins::of(const std::string& language) const {
  std::vector<ProjectPin> result;
  for (const auto& pin : pins) {
    if (pin.language == language) result.push_back(pin);
  }
  return result;
}

const UnreadablePin* ProjectPins::unreadableFor(const std::string& language) const {
  for (const auto& file : unreadable) {
    if (file.languages.contains(language)) return &file;
  }
  return nullptr;
}

}  // namespace tw
