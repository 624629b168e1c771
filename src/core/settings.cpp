#include "core/settings.h"

#include <sys/stat.h>

#include <cstdio>

#include "core/app_paths.h"
#include "fs/file_io.h"
#include "fs/path.h"
#include "fs/regular_file.h"
#include "fs/stat_times.h"

namespace tw {
namespace {

// Settings are a few kilobytes; a bound keeps a planted huge file from being read.
constexpr std::size_t maxSettingsBytes = 4 * 1024 * 1024;

std::set<std::string> differingKeys(const nlohmann::json& before, const nlohmann::json& after) {
  std::set<std::string> keys;
  for (const auto& [key, value] : before.items()) {
    if (!after.contains(key) || after[key] != value) keys.insert(key);
  }
  for (const auto& [key, value] : after.items()) {
    if (!before.contains(key)) keys.insert(key);
  }
  return keys;
}

}  // namespace

Settings::Settings(std::string path) : path_(std::move(path)) {}

Settings::Stamp Settings::currentStamp() const {
  struct stat info {};
  if (::stat(path_.c_str(), &info) != 0) return {};
  return {true,
          static_cast<std::uint64_t>(info.st_dev),
          static_cast<std::uint64_t>(info.st_ino),
          static_cast<std::int64_t>(info.st_size),
          modifiedNanoseconds(info),
          changedNanoseconds(info)};
}

std::set<std::string> Settings::reloadIfChanged() {
  const Stamp stamp = currentStamp();
  if (loaded_ && *loaded_ == stamp) return {};
  loaded_ = stamp;
  damage_.reset();
  nlohmann::json fresh = nlohmann::json::object();
  if (stamp.present) {
    const auto contents = readRegularFile(path_, maxSettingsBytes, LastLink::follow);
    auto parsed = contents ? nlohmann::json::parse(*contents, nullptr, /*allow_exceptions=*/false) : nlohmann::json();
    if (parsed.is_object()) {
      fresh = std::move(parsed);
    } else {
      damage_ = contents
                    ? "it does not hold a JSON object"
                    : "it is not a readable regular file of at most " + std::to_string(maxSettingsBytes >> 20) + " MB";
      std::fprintf(stderr,
                   "tidewarden: settings file %s is damaged (%s); using defaults and leaving the file as it is. "
                   "Nothing will be deleted until it is repaired or deleted.\n",
                   path_.c_str(), damage_->c_str());
    }
  }
  auto changed = differingKeys(stored_, fresh);
  stored_ = std::move(fresh);
  return changed;
}

std::optional<std::string> Settings::damage() {
  std::set<std::string> changed;
  std::optional<std::string> found;
  {
    std::lock_guard lock(mutex_);
    changed = reloadIfChanged();
    found = damage_;
  }
  announce({std::move(changed), true});
  return found;
}

void Settings::save() {
  // A damaged file stays as the user left it; what changed lives in memory until then.
  if (damage_) return;
  createDirectories(parentPath(path_));
  // A settings write that fails leaves the previous file; the value still holds in memory.
  (void)writeFileAtomically(path_, stored_.dump(2, ' ', false, nlohmann::json::error_handler_t::replace) + "\n");
  loaded_ = currentStamp();
}

void Settings::announce(const Change& change) {
  if (change.keys.empty()) return;
  std::vector<Observer> current;
  {
    std::lock_guard lock(observersMutex_);
    for (const auto& [token, observer] : observers_) current.push_back(observer);
  }
  for (const auto& observer : current) observer(change);
}

int Settings::observe(Observer observer) {
  std::lock_guard lock(observersMutex_);
  observers_.emplace(nextToken_, std::move(observer));
  return nextToken_++;
}

void Settings::unobserve(int token) {
  std::lock_guard lock(observersMutex_);
  observers_.erase(token);
}

void Settings::refresh() {
  std::set<std::string> changed;
  {
    std::lock_guard lock(mutex_);
    changed = reloadIfChanged();
  }
  announce({std::move(changed), true});
}

void Settings::registerDefaults(const nlohmann::json& defaults) {
  std::lock_guard lock(mutex_);
  for (const auto& [key, value] : defaults.items()) defaults_[key] = value;
}

void Settings::keepInMemory(const std::string& key) {
  std::lock_guard lock(mutex_);
  if (!inMemory_.contains(key)) inMemory_[key] = nullptr;
}

std::optional<nlohmann::json> Settings::value(const std::string& key) {
  std::optional<nlohmann::json> found;
  std::set<std::string> changed;
  {
    std::lock_guard lock(mutex_);
    changed = reloadIfChanged();
    if (auto held = inMemory_.find(key); held != inMemory_.end()) {
      if (!held->is_null()) found = *held;
    } else if (auto stored = stored_.find(key); stored != stored_.end()) {
      found = *stored;
    } else if (auto fallback = defaults_.find(key); fallback != defaults_.end()) {
      found = *fallback;
    }
  }
  announce({std::move(changed), true});
  return found;
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
  std::set<std::string> fromFile;
  bool changed = false;
  {
    std::lock_guard lock(mutex_);
    fromFile = reloadIfChanged();
    if (auto held = inMemory_.find(key); held != inMemory_.end()) {
      changed = *held != value;
      *held = std::move(value);
    } else {
      changed = !stored_.contains(key) || stored_[key] != value;
      stored_[key] = std::move(value);
      save();
    }
  }
  announce({std::move(fromFile), true});
  if (changed) announce({{key}, false});
}

void Settings::setDate(const std::string& key, Date date) { set(key, iso8601(date)); }

void Settings::remove(const std::string& key) {
  std::set<std::string> fromFile;
  bool removed = false;
  {
    std::lock_guard lock(mutex_);
    fromFile = reloadIfChanged();
    if (auto held = inMemory_.find(key); held != inMemory_.end()) {
      removed = !held->is_null();
      *held = nullptr;
    } else {
      removed = stored_.erase(key) > 0;
      if (removed) save();
    }
  }
  announce({std::move(fromFile), true});
  if (removed) announce({{key}, false});
}

std::vector<std::string> DevSettings::configuredProjectRoots(Settings& settings) {
  std::vector<std::string> roots;
  for (const auto& root : settings.stringList(projectRootsKey).value_or(std::vector<std::string>{})) {
    if (!root.empty() && root.front() == '/') roots.push_back(standardizePath(root));
  }
  return roots;
}

std::vector<std::string> DevSettings::projectRoots(const Context& context) {
  if (!context.settings || !context.settings->value(projectRootsKey)) return {context.home};
  return configuredProjectRoots(*context.settings);
}

}  // namespace tw
