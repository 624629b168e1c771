#include "lens/volume_info.h"

#include <algorithm>

#include "lens/disk_scanner.h"

namespace tw {
namespace {

constexpr std::int64_t kDemoTotal = 994'662'584'320;
constexpr std::int64_t kDemoFree = 128'400'000'000;

}  // namespace

VolumeInfo reportedVolume(const Context& context) {
  VolumeInfo volume = startupVolume(context.home);
  if (!context.sampleData) return volume;
  volume.name = "Macintosh HD";
  volume.device.clear();
  volume.used.reset();
  volume.total = kDemoTotal;
  volume.available = kDemoFree;
  volume.availableNow = kDemoFree;
  volume.purgeable = 0;
  return volume;
}

std::int64_t usedBytes(const VolumeInfo& volume) {
  return volume.used.value_or(std::max<std::int64_t>(0, volume.total - volume.available));
}

double usedShare(const VolumeInfo& volume) {
  const std::int64_t used = usedBytes(volume);
  const std::int64_t writable = used + volume.available;
  return writable > 0 ? static_cast<double>(used) / static_cast<double>(writable) : 0;
}

DiskInfo DiskInfo::current(const Context& context) {
  const VolumeInfo volume = reportedVolume(context);
  return {volume.total, volume.available};
}

}  // namespace tw
