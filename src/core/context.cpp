#include "core/context.h"

#include <pwd.h>
#include <unistd.h>

#include "core/app_paths.h"
#include "core/history.h"
#include "core/scan_cache.h"
#include "core/settings.h"
#include "fs/path.h"

extern char** environ;

namespace tw {

std::string homeFolderOf(const Environment& env) {
  std::string home;
  if (const auto found = env.find("HOME"); found != env.end() && !found->second.empty()) {
    home = found->second;
  } else if (const passwd* entry = getpwuid(getuid()); entry != nullptr && entry->pw_dir != nullptr) {
    home = entry->pw_dir;
  } else {
    home = "/";
  }
  while (home.size() > 1 && home.back() == '/') home.pop_back();
  return home;
}

std::string xdgFolder(const Environment& env, const std::string& variable, const std::string& home,
                      const std::string& fallbackUnderHome) {
  if (const auto found = env.find(variable); found != env.end() && found->second.starts_with('/')) {
    return standardizePath(found->second);
  }
  return home + fallbackUnderHome;
}

Context Context::fromEnvironment(Environment env) {
  Context context;
  context.home = homeFolderOf(env);
  context.dataHome = xdgFolder(env, "XDG_DATA_HOME", context.home, "/.local/share");
  context.configHome = xdgFolder(env, "XDG_CONFIG_HOME", context.home, "/.config");
  context.cacheHome = xdgFolder(env, "XDG_CACHE_HOME", context.home, "/.cache");
  context.stateHome = xdgFolder(env, "XDG_STATE_HOME", context.home, "/.local/state");
  context.sampleData = env.contains("TIDEWARDEN_SNAPSHOT");
  context.env = std::move(env);
  context.settings = std::make_shared<Settings>(settingsFilePath(context));
  context.history = std::make_shared<History>(applicationSupportFolder(context), !context.sampleData);
  // Sample data is for looking at: what the screens show is not remembered.
  if (context.sampleData) context.settings->keepInMemory(ScanCache::settingsKey);
  return context;
}

Environment Context::processEnvironment() {
  Environment env;
  for (char** entry = environ; entry != nullptr && *entry != nullptr; ++entry) {
    const std::string_view text(*entry);
    const std::size_t equals = text.find('=');
    if (equals != std::string_view::npos) env.emplace(text.substr(0, equals), text.substr(equals + 1));
  }
  return env;
}

Context Context::withStop(std::stop_token token) const {
  Context copy = *this;
  copy.stop = std::move(token);
  return copy;
}

std::string Context::variable(const std::string& name) const {
  const auto found = env.find(name);
  return found == env.end() ? std::string() : found->second;
}

}  // namespace tw
