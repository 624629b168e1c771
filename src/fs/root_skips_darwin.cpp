#include "fs/root_skips.h"

namespace tw {

// Other volumes, firmlinked system volumes, devices and network automounts.
const std::set<std::string>& rootSkipFolders() {
  static const std::set<std::string> skips{"/System/Volumes", "/Volumes", "/dev", "/net", "/home", "/Network"};
  return skips;
}

}  // namespace tw
