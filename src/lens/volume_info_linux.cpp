#include <sys/stat.h>
#include <sys/statvfs.h>

#include <climits>
#include <cstdlib>

#include "fs/file_io.h"
#include "fs/mounts.h"
#include "lens/volume_info.h"

namespace tw {
namespace {

bool isWithin(const std::string& path, const std::string& folder) {
  if (folder == "/") return path.starts_with("/");
  return path == folder || (path.starts_with(folder) && path[folder.size()] == '/');
}

// The deepest mount of the folder's device that contains it (bind mounts repeat a device).
std::string mountPointOf(const std::string& folder) {
  struct stat info {};
  if (::stat(folder.c_str(), &info) != 0) return "";
  const std::string real = resolvedPath(folder).value_or(folder);
  std::string best;
  for (const auto& volume : mountedVolumes()) {
    if (volume.device != static_cast<std::uint64_t>(info.st_dev) || !isWithin(real, volume.mountPoint)) continue;
    if (volume.mountPoint.size() >= best.size()) best = volume.mountPoint;
  }
  return best;
}

}  // namespace

VolumeInfo startupVolume(const std::string& home) {
  VolumeInfo volume;
  volume.purgeableNote = "Linux has no purgeable space";
  volume.name = mountPointOf(home);
  struct statvfs capacity {};
  if (::statvfs(home.c_str(), &capacity) != 0) return volume;
  const auto unit = static_cast<std::int64_t>(capacity.f_frsize != 0 ? capacity.f_frsize : capacity.f_bsize);
  volume.total = static_cast<std::int64_t>(capacity.f_blocks) * unit;
  volume.availableNow = static_cast<std::int64_t>(capacity.f_bavail) * unit;
  volume.available = volume.availableNow;
  return volume;
}

}  // namespace tw
