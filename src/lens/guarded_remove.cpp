#include "core/dev_safety.h"
#include "fs/anchored_remove.h"
#include "lens/disk_scanner.h"

namespace tw {

bool DiskScanner::remove(const std::string& path, const std::string& home) {
  return DevSafety::deepInsideHome(path, home) && !removeBeneath(home, path).error;
}

}  // namespace tw
