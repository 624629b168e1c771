#include "fs/root_skips.h"

namespace tw {

// Kernel views, device nodes, runtime state and other mounted volumes: not the disk's space.
const std::set<std::string>& rootSkipFolders() {
  static const std::set<std::string> skips{"/proc", "/sys", "/dev", "/run", "/media", "/mnt"};
  return skips;
}

}  // namespace tw
