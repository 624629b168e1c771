#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace tw {

// One entry of the system's mount table.
struct MountedVolume {
  std::uint64_t device = 0;  // as stat reports it for files on this volume
  std::string mountPoint;
  std::string type;  // file-system type name ("ext4", "apfs", "devtmpfs", ...)
};

// The mounts this process sees, in the order the system lists them (later mounts last);
// empty when the table cannot be read.
[[nodiscard]] std::vector<MountedVolume> mountedVolumes();

// What the table says is mounted at `mountPoint` ("/dev/sda2", "tmpfs", ...), the latest
// mount there; empty when it is not listed or the table says nothing.
[[nodiscard]] std::string mountSource(const std::string& mountPoint);

}  // namespace tw
