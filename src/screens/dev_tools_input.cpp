#include "screens/dev_tools_input.h"

#include <sys/stat.h>
#include <unistd.h>

#include <array>

#include "core/file_io.h"
#include "core/home.h"
#include "core/settings.h"
#include "core/shell.h"
#include "screens/registry.h"

namespace tw {
namespace {

struct XdgDefault {
  std::string_view variable;
  std::string_view underHome;
};

constexpr std::array<XdgDefault, 4> xdgDefaults{{{"XDG_CACHE_HOME", "/.cache"},
                                                 {"XDG_CONFIG_HOME", "/.config"},
                                                 {"XDG_DATA_HOME", "/.local/share"},
                                                 {"XDG_STATE_HOME", "/.local/state"}}};

const XdgDefault* xdgDefault(std::string_view variable) {
  for (const auto& entry : xdgDefaults) {
    if (entry.variable == variable) return &entry;
  }
  return nullptr;
}

// "$NAME/rest" or "{name}/rest" split into the name and "/rest".
std::pair<std::string, std::string> splitHead(const std::string& place, std::size_t skip, char end) {
  const std::size_t stop = end == '/' ? place.find('/', skip) : place.find(end, skip);
  if (stop == std::string::npos) return {place.substr(skip), ""};
  const std::size_t restStart = end == '/' ? stop : stop + 1;
  return {place.substr(skip, stop - skip), place.substr(restStart)};
}

bool isVariablePlace(const std::string& place) { return place.starts_with('$'); }

}  // namespace

DevToolsInput DevToolsInput::current() {
  DevToolsInput input;
  input.home = homeDirectory();
  input.env = processEnvironment();
  input.projectRoots = DevSettings::projectRoots();
  input.findTool = &Shell::which;
  return input;
}

std::optional<std::string> DevToolsInput::variable(const std::string& name) const {
  const auto found = env.find(name);
  if (found == env.end() || found->second.empty()) return std::nullopt;
  return found->second;
}

std::optional<std::string> DevToolsInput::expand(const std::string& place,
                                                 const std::map<std::string, std::string>& keys) const {
  if (place == "~" || place.starts_with("~/")) return home + place.substr(1);
  if (place.starts_with('{')) {
    const auto [key, rest] = splitHead(place, 1, '}');
    const auto found = keys.find(key);
    if (found == keys.end()) return std::nullopt;
    return found->second + rest;
  }
  if (!isVariablePlace(place)) return place.starts_with('/') ? std::optional(place) : std::nullopt;
  const auto [name, rest] = splitHead(place, 1, '/');
  std::string value = variable(name).value_or("");
  value = value.substr(0, value.find(':'));  // GOPATH and the like list folders
  if (value.starts_with('/')) return value + rest;
  if (const auto* xdg = xdgDefault(name)) return home + std::string(xdg->underHome) + rest;
  return std::nullopt;
}

std::optional<std::string> DevToolsInput::locate(const std::vector<std::string>& candidates) const {
  for (const auto& candidate : candidates) {
    const auto path = expand(candidate);
    if (!path) continue;
    const bool overrides = isVariablePlace(candidate) && !xdgDefault(splitHead(candidate, 1, '/').first);
    struct stat info {};
    if (overrides || (::stat(path->c_str(), &info) == 0 && S_ISDIR(info.st_mode))) return path;
  }
  return std::nullopt;
}

std::string DevToolsInput::tilde(const std::string& path) const {
  if (path == home) return "~";
  if (home != "/" && path.starts_with(home) && path.size() > home.size() && path[home.size()] == '/') {
    return "~" + path.substr(home.size());
  }
  return path;
}

std::optional<std::string> DevToolsInput::tool(const std::string& name, const std::vector<std::string>& folders,
                                               const std::map<std::string, std::string>& keys) const {
  for (const auto& folder : folders) {
    const auto path = expand(folder, keys);
    if (path && isExecutableFile(*path + "/" + name)) return *path + "/" + name;
  }
  return findTool ? findTool(name) : std::nullopt;
}

bool isExecutableFile(const std::string& path) {
  struct stat info {};
  return ::stat(path.c_str(), &info) == 0 && S_ISREG(info.st_mode) && ::access(path.c_str(), X_OK) == 0;
}

}  // namespace tw
