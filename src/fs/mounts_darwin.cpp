#include <sys/mount.h>

#include "fs/mounts.h"

namespace tw {

std::vector<MountedVolume> mountedVolumes() {
  struct statfs* mounts = nullptr;
  const int count = ::getmntinfo(&mounts, MNT_NOWAIT);
  std::vector<MountedVolume> volumes;
  for (int i = 0; i < count; ++i) {
    // stat's st_dev is the first word of the file-system id.
    volumes.push_back({static_cast<std::uint64_t>(static_cast<std::uint32_t>(mounts[i].f_fsid.val[0])),
                       mounts[i].f_mntonname, mounts[i].f_fstypename});
  }
  return volumes;
}

std::string mountSource(const std::string& mountPoint) {
  struct statfs* mounts = nullptr;
  const int count = ::getmntinfo(&mounts, MNT_NOWAIT);
  std::string found;
  for (int i = 0; i < count; ++i) {
    if (mountPoint == mounts[i].f_mntonname) found = mounts[i].f_mntfromname;
  }
  return found;
}

}  // namespace tw
