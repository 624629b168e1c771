#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "core/dev_group.h"

namespace tw {

// The Git Repos screen: repositories whose object store has grown, compacted with git's
// own garbage collection.
struct GitRepos {
  // What `git count-objects -v` reports, in bytes and counts.
  struct Stats {
    std::int64_t looseBytes = 0;     // "size", KiB
    std::int64_t looseCount = 0;     // "count"
    std::int64_t packedBytes = 0;    // "size-pack", KiB
    std::int64_t prunePackable = 0;  // "prune-packable"
    std::int64_t garbageBytes = 0;   // "size-garbage", KiB
    std::int64_t garbageCount = 0;   // "garbage"
    friend bool operator==(const Stats&, const Stats&) = default;
  };

  // What the disk says about a repository's ".git", beside the object statistics.
  struct Footprint {
    std::int64_t gitBytes = 0;  // the whole ".git" folder
    std::int64_t lfsBytes = 0;  // ".git/lfs", 0 unless it is a folder
    bool lfsFolder = false;
    bool gitRunning = false;  // ".git/index.lock" exists
  };

  static constexpr double statsTimeout = 60;

  [[nodiscard]] static Stats parse(const std::string& output);

  // The item of one repository, or nothing when it needs no cleanup.
  [[nodiscard]] static std::optional<DevItem> inspect(const std::string& repo, const std::string& git, bool hasLFS,
                                                      const Context& context);

  // The item for figures already gathered: the thresholds, badges and texts of inspect();
  // `home` is shown as "~".
  [[nodiscard]] static std::optional<DevItem> assess(const std::string& repo, const std::string& git, bool hasLFS,
                                                     const Stats& stats, const Footprint& footprint,
                                                     const std::string& home);

  [[nodiscard]] static ProviderResult load(const Context& context);
};

}  // namespace tw
