#pragma once

#include <cstdint>
#include <string>

#include "core/context.h"

namespace tw {

// Capacity of the volume that status reports on.
struct VolumeInfo {
  std::string name;               // the volume's name; its mount point where volumes have no name
  std::int64_t total = 0;         // bytes
  std::int64_t available = 0;     // free bytes including what the system frees on demand
  std::int64_t availableNow = 0;  // free bytes without it
  std::int64_t purgeable = 0;     // what the system frees on demand
  std::string purgeableNote;      // what "purgeable" means here, in a few words
};

// The start-up volume on macOS, the volume holding the home folder elsewhere. Unknown
// values are 0; never fails.
[[nodiscard]] VolumeInfo startupVolume(const std::string& home);

// startupVolume(), or fixed demonstration values in sample-data mode.
[[nodiscard]] VolumeInfo reportedVolume(const Context& context);

}  // namespace tw
