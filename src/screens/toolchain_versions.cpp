// Reading each version manager's own files: which versions are installed, which one is
// the default, and which versions the projects' pins resolve to, the way the manager
// itself would resolve them. Whatever cannot be read or resolved becomes a problem, so
// that the screen fails closed for that manager.

#include "screens/toolchain_versions.h"

#include <array>
#include <functional>
#include <map>

#include <toml++/toml.h>
#include <nlohmann/json.hpp>

#include "core/text.h"
#include "fs/file_io.h"
#include "fs/path.h"
#include "fs/regular_file.h"
#include "fs/usage.h"
#include "screens/resolved_folders.h"
#include "screens/version_text.h"

namespace tw {
namespace {

using Kind = ToolchainManager::Kind;

constexpr std::size_t maxSettingsBytes = 1024 * 1024;
constexpr int longestAliasChain = 16;

bool isDigit(char c) { return c >= '0' && c <= '9'; }

std::optional<std::string> readSmall(const std::string& path) { return readRegularFile(path, maxSettingsBytes); }

std::string firstWord(const std::string& text) {
  for (const auto& line : splitLines(text)) {
    const std::string value = trimmed(line.substr(0, line.find('#')));
    if (!value.empty()) return value;
  }
  return "";
}

// --- listing the installed versions ---

// The channel of a rustup toolchain name: "stable-x86_64-unknown-linux-gnu" -> "stable",
// "nightly-2024-01-01-aarch64-apple-darwin" -> "nightly-2024-01-01".
std::string rustChannel(const std::string& name) {
  static constexpr std::array<std::string_view, 11> arches{
      "x86_64", "aarch64", "i686", "i586", "arm", "armv7", "riscv64", "powerpc64", "s390x", "loongarch64", "mips"};
  for (std::size_t dash = name.find('-'); dash != std::string::npos; dash = name.find('-', dash + 1)) {
    const std::string_view rest = std::string_view(name).substr(dash + 1);
    for (const auto arch : arches) {
      if (rest.starts_with(arch) && rest.size() > arch.size() && rest[arch.size()] == '-') return name.substr(0, dash);
    }
  }
  return name;
}

std::string withoutPrefix(const std::string& text, std::string_view prefix) {
  return text.starts_with(prefix) ? text.substr(prefix.size()) : text;
}

InstalledVersion plainVersion(const std::string& folder, const std::string& name, std::string version) {
  return {name, std::move(version), "", {joinPath(folder, name)}};
}

void listPlain(const std::string& folder, std::vector<InstalledVersion>& out) {
  for (const auto& name : subfolderNames(folder)) {
    if (name.starts_with('.')) continue;
    out.push_back(plainVersion(folder, name, name));
  }
}

void listNode(const std::string& folder, std::vector<InstalledVersion>& out) {
  for (const auto& name : subfolderNames(folder)) {
    if (name.size() > 1 && name[0] == 'v' && isDigit(name[1])) {
      out.push_back(plainVersion(folder, name, name.substr(1)));
    }
  }
}

void listSdkman(const std::string& folder, std::vector<InstalledVersion>& out) {
  for (const auto& candidate : subfolderNames(folder)) {
    const std::string candidateFolder = joinPath(folder, candidate);
    for (const auto& name : subfolderNames(candidateFolder)) {
      if (name == "current") continue;
      out.push_back({name, name, candidate, {joinPath(candidateFolder, name)}});
    }
  }
}

// golang.org/toolchain@v0.0.1-go1.21.5.linux-amd64, with its downloaded archive.
void listGoToolchains(const std::string& root, const std::string& folder, std::vector<InstalledVersion>& out) {
  static constexpr std::string_view prefix = "toolchain@v0.0.1-go";
  for (const auto& name : subfolderNames(folder)) {
    if (!name.starts_with(prefix)) continue;
    // "1.21.5.linux-amd64": the version ends at the last dot before the platform's dash.
    const std::string release = name.substr(prefix.size());
    const std::size_t dot = release.rfind('.', release.find('-'));
    if (dot == std::string::npos) continue;
    const std::string version = release.substr(0, dot);
    InstalledVersion found{"go" + version, version, "", {joinPath(folder, name)}, true};
    const std::string download = root + "/cache/download/golang.org/toolchain/@v/" + name.substr(10);
    for (const char* extension : {".zip", ".ziphash", ".mod", ".info"}) {
      if (pathExists(download + extension)) found.paths.push_back(download + extension);
    }
    out.push_back(std::move(found));
  }
}

// ~/sdk/go1.21.5 and the go1.21.5 command that golang.org/dl installed beside the others.
void listGoSdks(const std::string& folder, const DevToolsInput& input, std::vector<InstalledVersion>& out) {
  const auto commands = input.locate({"$GOBIN", "$GOPATH/bin", "~/go/bin"});
  for (const auto& name : subfolderNames(folder)) {
    if (name.size() < 3 || !name.starts_with("go") || !isDigit(name[2])) continue;
    InstalledVersion found = plainVersion(folder, name, name.substr(2));
    if (commands && pathExists(joinPath(*commands, name))) found.paths.push_back(joinPath(*commands, name));
    out.push_back(std::move(found));
  }
}

void listArchives(const std::string& folder, std::vector<InstalledVersion>& out) {
  for (const auto& day : subfolderNames(folder)) {
    const std::string dayFolder = joinPath(folder, day);
    for (const auto& name : subfolderNames(dayFolder)) {
      if (pathExtension(name) != "xcarchive") continue;
      out.push_back({name.substr(0, name.size() - 10), day, "", {joinPath(dayFolder, name)}});
    }
  }
}

std::vector<InstalledVersion> listVersions(const ToolchainManager& manager, const std::string& root,
                                           const std::string& folder, const DevToolsInput& input) {
  std::vector<InstalledVersion> versions;
  switch (manager.kind) {
    case Kind::nvm:
    case Kind::fnm:
      listNode(folder, versions);
      break;
    case Kind::rbenv:
      listPlain(folder, versions);
      for (auto& found : versions) found.version = withoutPrefix(found.name, "ruby-");
      break;
    case Kind::rustup:
      listPlain(folder, versions);
      for (auto& found : versions) found.version = rustChannel(found.name);
      break;
    case Kind::sdkman:
      listSdkman(folder, versions);
      break;
    case Kind::goToolchains:
      listGoToolchains(root, folder, versions);
      break;
    case Kind::goSdks:
      listGoSdks(folder, input, versions);
      break;
    case Kind::xcodeArchives:
      listArchives(folder, versions);
      break;
    case Kind::homebrew:
      break;
    default:
      listPlain(folder, versions);
      break;
  }
  return versions;
}

// --- resolving a wanted version to an installed one ---

// What a default or pin names: an installed version's folder, nothing (it names no
// installed version, or the system's), or a problem when it cannot be told.
struct Resolution {
  std::optional<std::string> folder;
  std::optional<std::string> problem;
};

class Resolver {
 public:
  Resolver(const ToolchainManager& manager, ManagerFindings& findings) : manager_(manager), found_(findings) {}

  Resolution resolve(const std::string& wanted, int depth = 0) const {
    std::string value = trimmed(wanted);
    if (value.empty() || value == "system") return {};
    if (value.starts_with('/')) return byPath(value);
    switch (manager_.kind) {
      case Kind::nvm:
      case Kind::fnm:
      case Kind::volta:
        return node(value, depth);
      case Kind::rbenv:
        return newest(withoutPrefix(value, "ruby-"));
      case Kind::rustup:
        return rust(value);
      case Kind::pyenv:
        return python(value);
      default:
        return newest(value);
    }
  }

  // The installed version whose folder holds `path`.
  Resolution byPath(const std::string& path) const {
    const std::string target = resolvedPath(path).value_or(path);
    for (const auto& version : found_.versions) {
      if (target == version.resolved || target.starts_with(version.resolved + "/")) return {version.paths.front(), {}};
    }
    return {};
  }

 private:
  Resolution exact(const std::string& name) const {
    for (const auto& version : found_.versions) {
      if (version.name == name) return {version.paths.front(), {}};
    }
    return {};
  }

  Resolution newest(const std::string& wanted) const {
    if (auto found = exact(wanted); found.folder) return found;
    std::vector<std::string> numbers;
    for (const auto& version : found_.versions) numbers.push_back(version.version);
    const std::string best = newestWithin(numbers, wanted);
    for (const auto& version : found_.versions) {
      if (!best.empty() && version.version == best) return {version.paths.front(), {}};
    }
    return {};
  }

  Resolution newestOverall() const {
    const InstalledVersion* best = nullptr;
    for (const auto& version : found_.versions) {
      if (best == nullptr || compareVersions(version.version, best->version) > 0) best = &version;
    }
    return best != nullptr ? Resolution{best->paths.front(), {}} : Resolution{};
  }

  Resolution node(std::string value, int depth) const {
    if (value.size() > 1 && (value[0] == 'v' || value[0] == 'V') && isDigit(value[1])) value.erase(0, 1);
    if (!value.empty() && isDigit(value[0])) return newest(value);
    if (value == "node" || value == "stable" || value == "latest" || value == "current") return newestOverall();
    if (value == "iojs") return {};
    if (depth < longestAliasChain) {
      if (manager_.kind == Kind::nvm) {
        if (const auto alias = readSmall(found_.root + "/alias/" + value)) return resolve(firstWord(*alias), depth + 1);
      } else if (manager_.kind == Kind::fnm) {
        const std::string link = found_.root + "/aliases/" + value;
        if (pathExists(link)) return byPath(link);
      }
    }
    return {{}, "\u201c" + value + "\u201d"};
  }

  Resolution rust(const std::string& value) const {
    for (const auto& version : found_.versions) {
      if (version.name == value || version.version == value) return {version.paths.front(), {}};
    }
    return {};
  }

  // pyenv names virtualenvs too: a link in versions/ to <version>/envs/<name>.
  Resolution python(const std::string& value) const {
    const std::string link = found_.versionsFolder + "/" + value;
    if (value.find('/') == std::string::npos && pathExists(link) && !isFolder(link)) return byPath(link);
    return newest(value);
  }

  const ToolchainManager& manager_;
  ManagerFindings& found_;
};

// --- defaults ---

void addDefault(ManagerFindings& findings, const Resolution& resolution, const std::string& source) {
  if (resolution.folder) findings.defaults.insert(*resolution.folder);
  if (resolution.problem) {
    findings.problems.push_back("The default version (" + source + ") names " + *resolution.problem +
                                ", which can't be matched to an installed version");
  }
}

// A settings file that is there but cannot be read is a problem; a missing one is no default.
std::optional<std::string> readDefaultFile(ManagerFindings& findings, const std::string& path) {
  if (!pathExists(path)) return std::nullopt;
  auto text = readSmall(path);
  if (!text) findings.problems.push_back("Can't read " + lastPathComponent(path) + " to tell the default version");
  return text;
}

void rustupDefaults(const Resolver& resolver, ManagerFindings& findings) {
  const auto text = readDefaultFile(findings, findings.root + "/settings.toml");
  if (!text) return;
  try {
    const auto settings = toml::parse(*text);
    if (const auto name = settings["default_toolchain"].value<std::string>()) {
      addDefault(findings, resolver.resolve(*name), "settings.toml");
    }
    // Folders given their own toolchain with `rustup override set` pin it.
    if (const auto* overrides = settings["overrides"].as_table()) {
      for (const auto& [path, toolchain] : *overrides) {
        const auto name = toolchain.value<std::string>();
        const auto resolution = name ? resolver.resolve(*name) : Resolution{};
        if (resolution.folder) {
          const std::string folder(path.str());
          findings.pins[*resolution.folder].push_back({"rust", *name, folder, "rustup override"});
        }
      }
    }
  } catch (const toml::parse_error&) {
    findings.problems.push_back("Can't read settings.toml to tell the default toolchain");
  }
}

void voltaDefaults(const Resolver& resolver, ManagerFindings& findings) {
  const auto text = readDefaultFile(findings, findings.root + "/tools/user/platform.json");
  if (!text) return;
  const auto json = nlohmann::json::parse(*text, nullptr, false);
  if (json.is_discarded() || !json.is_object()) {
    findings.problems.push_back("Can't read platform.json to tell the default version");
    return;
  }
  const auto runtime = json.value("/node/runtime"_json_pointer, nlohmann::json());
  if (runtime.is_string()) addDefault(findings, resolver.resolve(runtime.get<std::string>()), "platform.json");
}

// A link naming the default ("aliases/default", SDKMAN's "current"); a broken one is none.
void linkDefault(const Resolver& resolver, ManagerFindings& findings, const std::string& link) {
  if (pathExists(link)) addDefault(findings, resolver.byPath(link), lastPathComponent(link));
}

void findDefaults(const ToolchainManager& manager, const Resolver& resolver, ManagerFindings& findings) {
  switch (manager.kind) {
    case Kind::nvm:
      if (const auto text = readDefaultFile(findings, findings.root + "/alias/default")) {
        addDefault(findings, resolver.resolve(firstWord(*text)), "alias/default");
      }
      break;
    case Kind::fnm:
      linkDefault(resolver, findings, findings.root + "/aliases/default");
      break;
    case Kind::volta:
      voltaDefaults(resolver, findings);
      break;
    case Kind::pyenv:
    case Kind::rbenv:
      if (const auto text = readDefaultFile(findings, findings.root + "/version")) {
        for (const auto& line : splitLines(*text)) addDefault(findings, resolver.resolve(line), "version");
      }
      break;
    case Kind::rustup:
      rustupDefaults(resolver, findings);
      break;
    case Kind::fvm:
      linkDefault(resolver, findings, findings.root + "/default");
      break;
    default:
      break;
  }
}

// --- pins ---

void addUnreadablePin(const ProjectPins& pins, const std::string& language, ManagerFindings& findings) {
  if (const auto* unreadable = pins.unreadableFor(language)) {
    findings.problems.push_back("Can't read " + unreadable->file + " in " + lastPathComponent(unreadable->project));
  }
}

void addPins(const std::string& language, const Resolver& resolver, const ProjectPins& pins,
             ManagerFindings& findings) {
  addUnreadablePin(pins, language, findings);
  for (const auto& pin : pins.of(language)) {
    const auto resolution = resolver.resolve(pin.value);
    if (resolution.folder) findings.pins[*resolution.folder].push_back(pin);
    if (resolution.problem) {
      findings.problems.push_back(pin.file + " in " + lastPathComponent(pin.project) + " names " + *resolution.problem +
                                  ", which can't be matched to an installed version");
    }
  }
}

// A candidate's pins must resolve among its own versions only.
ManagerFindings sdkmanCandidate(const ManagerFindings& all, const std::string& candidate) {
  ManagerFindings one;
  one.root = all.root;
  one.versionsFolder = all.versionsFolder;
  for (const auto& version : all.versions) {
    if (version.candidate == candidate) one.versions.push_back(version);
  }
  return one;
}

void readSdkman(const ToolchainManager& manager, const ProjectPins& pins, ManagerFindings& findings) {
  std::set<std::string> candidates;
  for (const auto& version : findings.versions) candidates.insert(version.candidate);
  for (const auto& candidate : candidates) {
    ManagerFindings one = sdkmanCandidate(findings, candidate);
    const Resolver resolver(manager, one);
    linkDefault(resolver, one, findings.versionsFolder + "/" + candidate + "/current");
    addPins(candidate, resolver, pins, one);
    findings.defaults.insert(one.defaults.begin(), one.defaults.end());
    for (auto& [folder, list] : one.pins) findings.pins[folder] = std::move(list);
    findings.problems.insert(findings.problems.end(), one.problems.begin(), one.problems.end());
  }
  addUnreadablePin(pins, "sdkman", findings);
}

// Every version folder was named by its parent's listing.
void resolveFolders(std::vector<InstalledVersion>& versions) {
  ResolvedFolders folders;
  for (auto& version : versions) version.resolved = folders.resolveListedFolder(version.paths.front());
}

// PYENV_VERSION=3.11.4:3.10.12, RUSTUP_TOOLCHAIN=nightly and the like.
void addChosenByVariables(const ToolchainManager& manager, const Resolver& resolver, const DevToolsInput& input,
                          ManagerFindings& findings) {
  for (const auto& name : manager.versionVariables) {
    const std::string value = input.variable(name).value_or("");
    for (std::size_t start = 0; start < value.size();) {
      const std::size_t end = std::min(value.find(':', start), value.size());
      if (const auto resolution = resolver.resolve(value.substr(start, end - start)); resolution.folder) {
        findings.chosen.insert(*resolution.folder);
      }
      start = end + 1;
    }
  }
}

}  // namespace

ManagerFindings readManager(const ToolchainManager& manager, const std::string& root, const ProjectPins& pins,
                            const DevToolsInput& input) {
  ManagerFindings findings;
  findings.root = root;
  findings.versionsFolder = manager.versions.empty() ? root : joinPath(root, manager.versions);
  findings.versions = listVersions(manager, root, findings.versionsFolder, input);
  resolveFolders(findings.versions);
  if (manager.kind == Kind::sdkman) {
    readSdkman(manager, pins, findings);
    return findings;
  }
  const Resolver resolver(manager, findings);
  findDefaults(manager, resolver, findings);
  if (!manager.language.empty()) addPins(manager.language, resolver, pins, findings);
  addChosenByVariables(manager, resolver, input, findings);
  return findings;
}

}  // namespace tw
