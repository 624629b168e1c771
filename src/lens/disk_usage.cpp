#include "fs/root_skips.h"
#include "fs/usage.h"
#include "lens/disk_scanner.h"

// The shared file-system operations as the disk lens names them; the file-system layer
// does the work.
namespace tw {

std::optional<std::vector<DiskScanner::Entry>> DiskScanner::list(const std::string& path) { return listFolder(path); }

std::pair<std::int64_t, std::int64_t> DiskScanner::usage(const std::string& path, std::stop_token stop) {
  const Usage measured = usageOf(path, std::move(stop));
  return {measured.size, measured.freeable};
}

std::int64_t DiskScanner::size(const std::string& path) { return allocatedSize(path); }

const std::set<std::string>& DiskScanner::rootSkips() { return rootSkipFolders(); }

}  // namespace tw
