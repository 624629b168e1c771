#include "screens/places.h"

#include "core/text.h"
#include "fs/path.h"
#include "fs/regular_file.h"

namespace tw {
namespace {

constexpr std::size_t userDirsFileLimit = 64 * 1024;

struct UserFolder {
  const char* key;
  const char* fallback;  // under the home folder
};

constexpr UserFolder userFolders[] = {
    {"XDG_DESKTOP_DIR", "/Desktop"},
    {"XDG_DOWNLOAD_DIR", "/Downloads"},
    {"XDG_PICTURES_DIR", "/Pictures"},
    {"XDG_VIDEOS_DIR", "/Videos"},
};

// user-dirs.dirs lines look like XDG_DOWNLOAD_DIR="$HOME/Downloads"; values are either
// "$HOME/..." or absolute.
std::map<std::string, std::string> readUserDirs(const std::string& file, const std::string& home) {
  std::map<std::string, std::string> folders;
  const auto text = readRegularFile(file, userDirsFileLimit);
  if (!text) return folders;
  for (const auto& rawLine : splitLines(*text)) {
    const std::string line = trimmed(rawLine);
    if (line.empty() || line.starts_with('#')) continue;
    const std::size_t equals = line.find('=');
    if (equals == std::string::npos) continue;
    std::string value = line.substr(equals + 1);
    if (value.size() < 2 || value.front() != '"' || value.back() != '"') continue;
    value = value.substr(1, value.size() - 2);
    if (value.starts_with("$HOME")) value = home + value.substr(5);
    if (!value.starts_with('/')) continue;
    folders[line.substr(0, equals)] = standardizePath(value);
  }
  return folders;
}

}  // namespace

Places Places::make(const Context& context, std::string root) {
  const std::string& home = context.home;
  const Environment& env = context.env;
  Places places{home, std::move(root), {}};
  places.folders["$XDG_DATA_HOME"] = context.dataHome;
  places.folders["$XDG_CONFIG_HOME"] = context.configHome;
  places.folders["$XDG_CACHE_HOME"] = context.cacheHome;
  const auto configured = readUserDirs(places.folders["$XDG_CONFIG_HOME"] + "/user-dirs.dirs", home);
  for (const auto& folder : userFolders) {
    std::string path = home + folder.fallback;
    if (const auto set = env.find(folder.key); set != env.end() && set->second.starts_with('/')) {
      path = standardizePath(set->second);
    } else if (const auto found = configured.find(folder.key); found != configured.end()) {
      path = found->second;
    }
    // A user folder set to the home folder itself is switched off.
    places.folders[std::string("$") + folder.key] = path == standardizePath(home) ? std::string() : path;
  }
  return places;
}

std::string Places::expand(std::string_view tablePath) const {
  if (tablePath == "~") return home;
  if (tablePath.starts_with("~/")) return home + std::string(tablePath.substr(1));
  if (tablePath.starts_with('$')) {
    const std::size_t slash = tablePath.find('/');
    const auto folder = folders.find(tablePath.substr(0, slash));
    if (folder == folders.end() || folder->second.empty()) return {};
    return slash == std::string_view::npos ? folder->second : folder->second + std::string(tablePath.substr(slash));
  }
  return system(tablePath);
}

std::string Places::system(std::string_view absolute) const { return root + std::string(absolute); }

std::string Places::tilde(std::string_view path) const {
  if (path == home) return "~";
  if (path.size() > home.size() && path.starts_with(home) && path[home.size()] == '/') {
    return "~" + std::string(path.substr(home.size()));
  }
  return unrooted(path);
}

std::string Places::unrooted(std::string_view path) const {
  if (!root.empty() && path.starts_with(root)) return std::string(path.substr(root.size()));
  return std::string(path);
}

std::string systemRoot(const Environment& env) {
  const auto root = env.find("TIDEWARDEN_SYSTEM_ROOT");
  if (root == env.end() || !root->second.starts_with('/')) return "";
  const std::string path = standardizePath(root->second);
  return path == "/" ? "" : path;
}

}  // namespace tw
