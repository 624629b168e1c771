#pragma once

#include <cstdint>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "core/date.h"

namespace tw {

// The user's settings: one JSON object in the settings file, written atomically on every
// change. Registered defaults answer for keys the file does not hold. A file that cannot
// be parsed reads as defaults and is kept beside the original as "<file>.bad" before the
// next write replaces it, so nothing is lost silently.
class Settings {
 public:
  static Settings& shared();

  void registerDefaults(const nlohmann::json& defaults);

  [[nodiscard]] std::optional<nlohmann::json> value(const std::string& key);
  [[nodiscard]] bool boolean(const std::string& key);
  [[nodiscard]] std::int64_t integer(const std::string& key);
  [[nodiscard]] std::optional<std::string> string(const std::string& key);
  [[nodiscard]] std::optional<std::vector<std::string>> stringList(const std::string& key);
  [[nodiscard]] std::optional<Date> date(const std::string& key);

  void set(const std::string& key, nlohmann::json value);
  void setDate(const std::string& key, Date date);
  void remove(const std::string& key);

 private:
  Settings() = default;
  nlohmann::json& stored();  // caller holds mutex_
  void save();               // caller holds mutex_

  std::mutex mutex_;
  nlohmann::json defaults_ = nlohmann::json::object();
  nlohmann::json stored_ = nlohmann::json::object();
  std::string loadedPath_;  // reloads when the settings path changes (tests move $HOME)
};

// The project-roots setting shared by the developer screens and the removal guard.
struct DevSettings {
  static constexpr const char* projectRootsKey = "projectRoots";
  // The "projectRoots" folders, or the home folder alone when the key is absent.
  [[nodiscard]] static std::vector<std::string> projectRoots();
  // The configured roots only (empty when absent).
  [[nodiscard]] static std::vector<std::string> configuredProjectRoots();
};

}  // namespace tw
