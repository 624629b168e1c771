#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <string>

#include "core/context.h"
#include "core/date.h"

namespace tw {

// What each screen found the last time it was scanned, so that the sidebar and the
// overview can show sizes before a fresh scan finishes. Kept in the context's settings
// under "scanCache": one object of screen key -> {"bytes", "items", "date"}, the date as
// seconds since 1 January 2001 (UTC), the encoding the app's first home used. In
// sample-data mode the context keeps it in memory only.
struct ScanCache {
  struct Entry {
    std::int64_t bytes = 0;
    std::int64_t items = 0;
    Date date;
    friend bool operator==(const Entry&, const Entry&) = default;
  };
  using Entries = std::map<std::string, Entry>;
  // Told that the cache changed; it reads all() again for the new values.
  using Observer = std::function<void()>;

  static constexpr const char* settingsKey = "scanCache";

  // Every stored entry; empty when there is none or the stored value cannot be read.
  [[nodiscard]] static Entries all(const Context& context);
  // Stores `key`'s entry dated `now`, replacing any earlier one; observers hear of it.
  // Saves come from the owner's thread (a pane applying its load).
  static void save(const Context& context, const std::string& key, std::int64_t bytes, std::int64_t items,
                   Date now = std::chrono::system_clock::now());

  // The cache's change notice, an event of the context's settings store: called after each
  // save here, and after another process's save once the store notices it. Called on the
  // thread that saved or noticed.
  [[nodiscard]] static int observe(const Context& context, Observer observer);
  static void unobserve(const Context& context, int token);
};

// Seconds since 1 January 2001 00:00:00 UTC, the cache's date encoding, and back.
[[nodiscard]] double secondsSince2001(Date date);
[[nodiscard]] Date dateFromSecondsSince2001(double seconds);

}  // namespace tw
