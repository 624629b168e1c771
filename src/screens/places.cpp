#include "screens/places.h"

#include "core/path.h"
#include "core/text.h"
#include "trash/regular_file.h"

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

std::string baseFolder(const std::map<std::string, std::string>& env, const std::string& home, const char* variable,
                       const char* fallback) {
  const auto value = env.find(variable);
  if (value != env.end() && value->second.starts_with('/')) return standardizePath(value->second);
  return home + fallback;
}

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

Places Places::make(const std::string& home, const std::map<std::string, std::string>& env, std::string root) {
  Places places{home, std::move(root), {}};
  places.folders["$XDG_DATA_HOME"] = baseFolder(env, home, "XDG_DATA_HOME", "/.local/share");
  places.folders["$XDG_CONFIG_HOME"] = baseFolder(env, home, "XDG_CONFIG_HOME", "/.config");
  places.folders["$XDG_CACHE_HOME"] = baseFolder(env, home, "XDG_CACHE_HOME", "/.cache");
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

std::string systemRoot(const std::map<std::string, std::string>& env) {
  const auto root = env.find("TIDEWARDEN_SYSTEM_ROOT");
  if (root == env.end() || !root->second.starts_with('/')) return "";
  const std::string path = standardizePath(root->second);
  return path == "/" ? "" : path;
}

}  // namespace tw
