#pragma once

#include <map>
#include <memory>
#include <stop_token>
#include <string>
#include <vector>

namespace tw {

class History;
class Settings;

// A snapshot of environment variables: name to value.
using Environment = std::map<std::string, std::string>;

// Everything the program's work may know about its world, read once and passed down, so
// that leaf code reads no environment variable and caches nothing keyed on one. The
// command line builds it from the real environment, the app builds its own and each test
// builds one for its fixture. Copies share the stores. A context that the task runner
// hands to a job carries that job's stop token; the default token never stops.
struct Context {
  std::string home;
  Environment env;
  std::string dataHome;    // $XDG_DATA_HOME, else ~/.local/share
  std::string configHome;  // $XDG_CONFIG_HOME, else ~/.config
  std::string cacheHome;   // $XDG_CACHE_HOME, else ~/.cache
  std::string stateHome;   // $XDG_STATE_HOME, else ~/.local/state
  // Sample-data mode (TIDEWARDEN_SNAPSHOT set): screens show demonstration data and
  // nothing is recorded.
  bool sampleData = false;

  // The stores every copy shares (the scan cache takes its place beside them).
  std::shared_ptr<Settings> settings;
  std::shared_ptr<History> history;

  std::stop_token stop;

  // The folders and switches read from `env`, with the settings store and the history at
  // this platform's places for them.
  [[nodiscard]] static Context fromEnvironment(Environment env);
  // This process's environment, read once by whoever builds the context.
  [[nodiscard]] static Environment processEnvironment();

  // The same context for a job that stops when `stop` says so.
  [[nodiscard]] Context withStop(std::stop_token token) const;
  [[nodiscard]] bool stopRequested() const { return stop.stop_requested(); }

  // The value of an environment variable, or empty.
  [[nodiscard]] std::string variable(const std::string& name) const;
};

// The home folder that an environment names: $HOME, else the password database's entry
// for this user, else "/"; never ends in a slash unless it is "/".
[[nodiscard]] std::string homeFolderOf(const Environment& env);

// A per-user base folder by the XDG rules: $variable when it holds an absolute path (a
// relative value is invalid and ignored), else the home folder + `fallbackUnderHome`.
[[nodiscard]] std::string xdgFolder(const Environment& env, const std::string& variable, const std::string& home,
                                    const std::string& fallbackUnderHome);

}  // namespace tw
