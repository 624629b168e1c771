#include <CoreFoundation/CoreFoundation.h>

#include "lens/volume_info.h"

namespace tw {
namespace {

std::int64_t numberValue(CFURLRef url, CFStringRef key) {
  CFTypeRef value = nullptr;
  std::int64_t result = 0;
  if (CFURLCopyResourcePropertyForKey(url, key, &value, nullptr) && value != nullptr) {
    if (CFGetTypeID(value) == CFNumberGetTypeID())
      CFNumberGetValue(static_cast<CFNumberRef>(value), kCFNumberSInt64Type, &result);
    CFRelease(value);
  }
  return result;
}

std::string stringValue(CFURLRef url, CFStringRef key) {
  CFTypeRef value = nullptr;
  std::string result;
  if (CFURLCopyResourcePropertyForKey(url, key, &value, nullptr) && value != nullptr) {
    char text[1024];
    if (CFGetTypeID(value) == CFStringGetTypeID() &&
        CFStringGetCString(static_cast<CFStringRef>(value), text, sizeof text, kCFStringEncodingUTF8)) {
      result = text;
    }
    CFRelease(value);
  }
  return result;
}

}  // namespace

VolumeInfo startupVolume(const std::string&) {
  VolumeInfo volume;
  volume.purgeableNote = "space macOS frees on demand (snapshots, caches)";
  CFURLRef root = CFURLCreateWithFileSystemPath(nullptr, CFSTR("/"), kCFURLPOSIXPathStyle, true);
  if (root == nullptr) return volume;
  volume.name = stringValue(root, kCFURLVolumeNameKey);
  volume.total = numberValue(root, kCFURLVolumeTotalCapacityKey);
  volume.available = numberValue(root, kCFURLVolumeAvailableCapacityForImportantUsageKey);
  volume.availableNow = numberValue(root, kCFURLVolumeAvailableCapacityKey);
  if (volume.available > volume.availableNow) volume.purgeable = volume.available - volume.availableNow;
  CFRelease(root);
  return volume;
}

}  // namespace tw
