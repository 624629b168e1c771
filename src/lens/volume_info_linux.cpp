#include <sys/stat.h>
#include <sys/statvfs.h>

#include <cctype>
#include <climits>
#include <cstdlib>
#include <optional>
#include <string>

#include "fs/file_io.h"
#include "fs/mounts.h"
#include "fs/usage.h"
#include "lens/volume_info.h"

namespace tw {
namespace {

// udev writes a blank or slash in a label as "\x20" or "\x2f".
std::string unescapedLabel(const std::string& name) {
  std::string out;
  for (std::size_t i = 0; i < name.size(); ++i) {
    if (name.compare(i, 2, "\\x") == 0 && i + 3 < name.size() &&
        std::isxdigit(static_cast<unsigned char>(name[i + 2])) &&
        std::isxdigit(static_cast<unsigned char>(name[i + 3]))) {
      out += static_cast<char>(std::stoi(name.substr(i + 2, 2), nullptr, 16));
      i += 3;
      continue;
    }
    out += name[i];
  }
  return out;
}

bool isWithin(const std::string& path, const std::string& folder) {
  if (folder == "/") return path.starts_with("/");
  return path == folder || (path.starts_with(folder) && path[folder.size()] == '/');
}

// The deepest mount of the folder's device that contains it (bind mounts repeat a device).
std::optional<MountedVolume> mountOf(const std::string& folder) {
  struct stat info {};
  if (::stat(folder.c_str(), &info) != 0) return std::nullopt;
  const std::string real = resolvedPath(folder).value_or(folder);
  std::optional<MountedVolume> best;
  for (const auto& volume : mountedVolumes()) {
    if (volume.device != static_cast<std::uint64_t>(info.st_dev) || !isWithin(real, volume.mountPoint)) continue;
    if (!best || volume.mountPoint.size() >= best->mountPoint.size()) best = volume;
  }
  return best;
}

// The label udev lists for a block device, else the device itself.
std::string deviceName(const std::string& source) {
  if (!source.starts_with("/dev/")) return source;
  const auto device = resolvedPath(source);
  if (const auto labels = listFolder("/dev/disk/by-label"); labels && device) {
    for (const auto& label : *labels) {
      if (resolvedPath("/dev/disk/by-label/" + label.name) == device) return unescapedLabel(label.name);
    }
  }
  return source;
}

}  // namespace

VolumeInfo startupVolume(const std::string& home) {
  VolumeInfo volume;
  volume.purgeableNote = "Linux has no purgeable space";
  if (const auto mount = mountOf(home)) {
    volume.name = mount->mountPoint;
    volume.device = deviceName(mountSource(mount->mountPoint));
  }
  struct statvfs capacity {};
  if (::statvfs(home.c_str(), &capacity) != 0) return volume;
  const auto unit = static_cast<std::int64_t>(capacity.f_frsize != 0 ? capacity.f_frsize : capacity.f_bsize);
  volume.total = static_cast<std::int64_t>(capacity.f_blocks) * unit;
  volume.availableNow = static_cast<std::int64_t>(capacity.f_bavail) * unit;
  // As df counts: blocks not free are in use; the reserved ones are in neither figure.
  volume.used = static_cast<std::int64_t>(capacity.f_blocks - capacity.f_bfree) * unit;
  volume.available = volume.availableNow;
  return volume;
}

}  // namespace tw
