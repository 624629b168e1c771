#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "core/context.h"

namespace tw {

// Capacity of the volume that status reports on.
struct VolumeInfo {
  std::string name;        // the volume's name; its mount point where volumes have no name
  std::string device;      // where volumes are named by mount point: the device's label, else the device
  std::int64_t total = 0;  // bytes
  // Bytes in use as the file system counts them, where it says; blocks reserved for the
  // administrator are then neither used nor free. Otherwise total minus available.
  std::optional<std::int64_t> used;
  std::int64_t available = 0;     // free bytes including what the system frees on demand
  std::int64_t availableNow = 0;  // free bytes without it
  std::int64_t purgeable = 0;     // what the system frees on demand
  std::string purgeableNote;      // what "purgeable" means here, in a few words
};

// The start-up volume on macOS, the volume holding the home folder elsewhere. Unknown
// values are 0; never fails.
[[nodiscard]] VolumeInfo startupVolume(const std::string& home);

// Bytes in use: as the file system counts them, else total minus available.
[[nodiscard]] std::int64_t usedBytes(const VolumeInfo& volume);
// The share of the writable space in use, as df's Use% counts it: used / (used + available).
[[nodiscard]] double usedShare(const VolumeInfo& volume);

// startupVolume(), or fixed demonstration values in sample-data mode.
[[nodiscard]] VolumeInfo reportedVolume(const Context& context);

}  // namespace tw
