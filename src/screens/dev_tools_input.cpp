#include "screens/dev_tools_input.h"

#include <sys/stat.h>
#include <unistd.h>

#include "core/settings.h"
#include "core/shell.h"

namespace tw {
namespace {

// "$NAME/rest" or "{name}/rest" split into the name and "/rest".
std::pair<std::string, std::string> splitHead(const std::string& place, std::size_t skip, char end) {
  const std::size_t stop = end == '/' ? place.find('/', skip) : place.find(end, skip);
  if (stop == std::string::npos) return {place.substr(skip), ""};
  const std::size_t restStart = end == '/' ? stop : stop + 1;
  return {place.substr(skip, stop - skip), place.substr(restStart)};
}

bool isVariablePlace(const std::string& place) { return place.starts_with('$'); }

}  // namespace

DevToolsInput DevToolsInput::from(const Context& context) {
  DevToolsInput input;
  input.context = context;
  input.projectRoots = DevSettings::projectRoots(context);
  input.findTool = [context](const std::string& name) { return Shell::which(name, context); };
  return input;
}

std::optional<std::string> DevToolsInput::variable(const std::string& name) const {
  std::string value = context.variable(name);
  if (value.empty()) return std::nullopt;
  return value;
}

const std::string* DevToolsInput::xdgFolderFor(std::string_view variable) const {
  if (variable == "XDG_CACHE_HOME") return &context.cacheHome;
  if (variable == "XDG_CONFIG_HOME") return &context.configHome;
  if (variable == "XDG_DATA_HOME") return &context.dataHome;
  if (variable == "XDG_STATE_HOME") return &context.stateHome;
  return nullptr;
}

std::optional<std::string> DevToolsInput::expand(const std::string& place,
                                                 const std::map<std::string, std::string>& keys) const {
  if (place == "~" || place.starts_with("~/")) return home() + place.substr(1);
  if (place.starts_with('{')) {
    const auto [key, rest] = splitHead(place, 1, '}');
    const auto found = keys.find(key);
    if (found == keys.end()) return std::nullopt;
    return found->second + rest;
  }
  if (!isVariablePlace(place)) return place.starts_with('/') ? std::optional(place) : std::nullopt;
  const auto [name, rest] = splitHead(place, 1, '/');
  if (const auto* xdg = xdgFolderFor(name)) return *xdg + rest;
  std::string value = variable(name).value_or("");
  value = value.substr(0, value.find(':'));  // GOPATH and the like list folders
  if (value.starts_with('/')) return value + rest;
  return std::nullopt;
}

std::optional<std::string> DevToolsInput::locate(const std::vector<std::string>& candidates) const {
  for (const auto& candidate : candidates) {
    const auto path = expand(candidate);
    if (!path) continue;
    const bool overrides = isVariablePlace(candidate) && xdgFolderFor(splitHead(candidate, 1, '/').first) == nullptr;
    struct stat info {};  // a linked folder counts: tools follow the link too
    if (overrides || (::stat(path->c_str(), &info) == 0 && S_ISDIR(info.st_mode))) return path;
  }
  return std::nullopt;
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
