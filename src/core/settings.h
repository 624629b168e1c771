#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "core/context.h"
#include "core/date.h"

namespace tw {

// The user's settings: one JSON object in the settings file, written atomically on every
// change and read again whenever the file has changed since (another process, such as the
// command line while the app runs, may have written it). Registered defaults answer for
// keys the file does not hold. A damaged file (one that cannot be read as a JSON object of
// at most a few megabytes: cut short, a FIFO, a device, a huge file) reads as defaults, is
// named once on stderr and is left exactly as it is: changes are kept in memory until the
// user repairs or deletes it, so nothing of theirs is lost or silently replaced. Safe to use
// from any thread.
class Settings {
 public:
  // Which keys changed, and whether the change was read from the file (another process
  // wrote it) or made through this store.
  struct Change {
    std::set<std::string> keys;
    bool fromFile = false;
  };
  using Observer = std::function<void(const Change&)>;

  explicit Settings(std::string path);
  Settings(const Settings&) = delete;
  Settings& operator=(const Settings&) = delete;

  [[nodiscard]] const std::string& path() const { return path_; }

  // Why the file cannot be used (read again if it changed), or nothing when it is sound or
  // absent. While it is damaged, nothing may be deleted: the defaults may reach further
  // than what the user set.
  [[nodiscard]] std::optional<std::string> damage();

  void registerDefaults(const nlohmann::json& defaults);
  // From now on this store keeps `key` in memory only: its value is neither read from the
  // file nor written to it (sample-data mode keeps what it shows out of the user's file).
  void keepInMemory(const std::string& key);

  [[nodiscard]] std::optional<nlohmann::json> value(const std::string& key);
  [[nodiscard]] bool boolean(const std::string& key);
  [[nodiscard]] std::int64_t integer(const std::string& key);
  [[nodiscard]] std::optional<std::string> string(const std::string& key);
  [[nodiscard]] std::optional<std::vector<std::string>> stringList(const std::string& key);
  [[nodiscard]] std::optional<Date> date(const std::string& key);

  void set(const std::string& key, nlohmann::json value);
  void setDate(const std::string& key, Date date);
  void remove(const std::string& key);

  // Reads the file again if it changed since it was last read; observers hear which keys
  // that changed. Reading a value does the same, so this is only for owners that want to
  // learn of changes without asking for a value (on a timer, say).
  void refresh();

  // Observers are called on the thread that made or noticed the change, never while the
  // store is locked.
  int observe(Observer observer);
  void unobserve(int token);

 private:
  // What identifies one version of the file on disk.
  struct Stamp {
    bool present = false;
    std::uint64_t device = 0, inode = 0;
    std::int64_t size = 0, modifiedNs = 0, changedNs = 0;
    friend bool operator==(const Stamp&, const Stamp&) = default;
  };

  [[nodiscard]] Stamp currentStamp() const;
  // Brings stored_ up to date with the file; returns the keys whose values changed.
  std::set<std::string> reloadIfChanged();  // caller holds mutex_
  void save();                              // caller holds mutex_
  void announce(const Change& change);

  const std::string path_;
  std::mutex mutex_;
  nlohmann::json defaults_ = nlohmann::json::object();
  nlohmann::json stored_ = nlohmann::json::object();
  nlohmann::json inMemory_ = nlohmann::json::object();  // keys kept out of the file, with their values
  std::optional<Stamp> loaded_;                         // nothing before the first read
  std::optional<std::string> damage_;                   // why the file as loaded is unusable
  std::mutex observersMutex_;
  std::map<int, Observer> observers_;
  int nextToken_ = 1;
};

// The project-roots setting shared by the developer screens and the removal guard.
struct DevSettings {
  static constexpr const char* projectRootsKey = "projectRoots";
  // The "projectRoots" folders, or the home folder alone when the key is absent.
  [[nodiscard]] static std::vector<std::string> projectRoots(const Context& context);
  // The configured roots only (empty when absent).
  [[nodiscard]] static std::vector<std::string> configuredProjectRoots(Settings& settings);
};

}  // namespace tw
