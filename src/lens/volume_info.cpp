#include "lens/volume_info.h"

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
  volume.total = kDemoTotal;
  volume.available = kDemoFree;
  volume.availableNow = kDemoFree;
  volume.purgeable = 0;
  return volume;
}

DiskInfo DiskInfo::current(const Context& context) {
  const VolumeInfo volume = reportedVolume(context);
  return {volume.total, volume.available};
}

}  // namespace tw
