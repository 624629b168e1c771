#include "core/settings.h"

#include <cstdio>

#include "core/app_paths.h"
#include "core/file_io.h"
#include "core/home.h"
#include "core/path.h"

namespace tw {

Settings& Settings::shared() {
  static Settings settings;
  return settings;
}

nlohmann::json& Settings::stored() {
  const std::string path = settingsFilePath();
  if (path == loadedPath_) return stored_;
  loadedPath_ = path;
  stored_ = nlohmann::json::object();
  const auto contents = readWholeFile(path);
  if (!contents) return stored_;
  auto parsed = nlohmann::json::parse(*contents, nullptr, /*allow_exceptions=*/false);
  if (parsed.is_object()) {
    stored_ = std::move(parsed);
  } else {
    // Keep the damaged file for the user before a later write replaces it.
    std::rename(path.c_str(), (path + ".bad").c_str());
    std::fprintf(stderr, "tidewarden: settings file %s is damaged; using defaults (kept as %s.bad)\n", path.c_str(),
                 path.c_str());
  }
  return stored_;
}

void Settings::save() {
  const std::string path = loadedPath_;
  createDirectories(parentPath(path));
  // A settings write that fails leaves the previous file; the value still holds in memory.
  (void)writeFileAtomically(path, stored_.dump(2, ' ', false, nlohmann::json::error_handler_t::replace) + "\n");
}

void Settings::registerDefaults(const nlohmann::json& defaults) {
  std::lock_guard lock(mutex_);
  for (const auto& [key, value] : defaults.items()) defaults_[key] = value;
}

std::optional<nlohmann::json> Settings::value(const std::string& key) {
  std::lock_guard lock(mutex_);
  const nlohmann::json& values = stored();
  if (auto found = values.find(key); found != values.end()) return *found;
  if (auto found = defaults_.find(key); found != defaults_.end()) return *found;
  return std::nullopt;
}

bool Settings::boolean(const std::string& key) {
  const auto found = value(key);
  return found && found->is_boolean() && found->get<bool>();
}

std::int64_t Settings::integer(const std::string& key) {
  const auto found = value(key);
  if (!found || !found->is_number()) return 0;
  return found->is_number_float() ? static_cast<std::int64_t>(found->get<double>()) : found->get<std::int64_t>();
}

std::optional<std::string> Settings::string(const std::string& key) {
  const auto found = value(key);
  if (!found || !found->is_string()) return std::nullopt;
  return found->get<std::string>();
}

std::optional<std::vector<std::string>> Settings::stringList(const std::string& key) {
  const auto found = value(key);
  if (!found || !found->is_array()) return std::nullopt;
  std::vector<std::string> list;
  for (const auto& element : *found) {
    if (element.is_string()) list.push_back(element.get<std::string>());
  }
  return list;
}

std::optional<Date> Settings::date(const std::string& key) {
  const auto text = string(key);
  return text ? parseIso8601(*text) : std::nullopt;
}

void Settings::set(const std::string& key, nlohmann::json value) {
  std::lock_guard lock(mutex_);
  stored()[key] = std::move(value);
  save();
}

void Settings::setDate(const std::string& key, Date date) { set(key, iso8601(date)); }

void Settings::remove(const std::string& key) {
  std::lock_guard lock(mutex_);
  if (stored().erase(key) > 0) save();
}

std::vector<std::string> DevSettings::configuredProjectRoots() {
  std::vector<std::string> roots;
  for (const auto& root : Settings::shared().stringList(projectRootsKey).value_or(std::vector<std::string>{})) {
    if (!root.empty() && root.front() == '/') roots.push_back(standardizePath(root));
  }
  return roots;
}

std::vector<std::string> DevSettings::projectRoots() {
  if (!Settings::shared().value(projectRootsKey)) return {homeDirectory()};
  return configuredProjectRoots();
}

}  // namespace tw
