#include <sys/stat.h>

#include "lens/bulk_list.h"
#include "lens/disk_scanner.h"
#include "lens/folder_walk.h"

namespace tw {
namespace {

// Adds up the files below a folder. A multiply-linked file counts in the size every time it
// is met and never as freeable: deleting one of its names frees nothing.
class UsageCounter : public FolderVisitor {
 public:
  explicit UsageCounter(bool wantFreeable) : wantFreeable_(wantFreeable) {}

  void visit(int folderFd, const FileIdentity& folder, std::vector<Subfolder>& subfolders) override {
    const bool measureSharing = wantFreeable_ && sharingOn(folderFd, folder.device);
    (void)readFolder(folderFd, measureSharing, [&](const ListedEntry& entry) {
      if (entry.isDir) {
        subfolders.push_back({std::string(entry.name), entry.fileID});
        return;
      }
      size += entry.size;
      if (entry.links < 2) freeable += entry.privateSize;
    });
  }

  std::int64_t size = 0;
  std::int64_t freeable = 0;

 private:
  // The file system only changes where the device does.
  bool sharingOn(int folderFd, std::uint64_t device) {
    if (!knownDevice_ || *knownDevice_ != device) {
      knownDevice_ = device;
      sharing_ = mayShareExtents(folderFd);
    }
    return sharing_;
  }

  bool wantFreeable_;
  std::optional<std::uint64_t> knownDevice_;
  bool sharing_ = false;
};

std::pair<std::int64_t, std::int64_t> measureTree(const std::string& path, bool wantFreeable) {
  struct stat info {};
  if (::lstat(path.c_str(), &info) != 0) return {0, 0};
  if (!S_ISDIR(info.st_mode)) {
    const std::int64_t size = static_cast<std::int64_t>(info.st_blocks) * 512;
    return {size, info.st_nlink < 2 ? size : 0};
  }
  const UniqueFd folder = openFolder(path);
  if (!folder || isPseudoFileSystem(folder.get())) return {0, 0};
  UsageCounter counter(wantFreeable);
  (void)walkFolders(folder.get(), counter);
  return {counter.size, counter.freeable};
}

}  // namespace

std::optional<std::vector<DiskScanner::Entry>> DiskScanner::list(const std::string& path) {
  const UniqueFd folder = openFolder(path);
  if (!folder) return std::nullopt;
  std::vector<Entry> entries;
  const bool read = readFolder(folder.get(), mayShareExtents(folder.get()), [&](const ListedEntry& entry) {
    entries.push_back({std::string(entry.name), entry.isDir, entry.size, entry.fileID, entry.links, entry.privateSize});
  });
  if (!read) return std::nullopt;
  return entries;
}

std::pair<std::int64_t, std::int64_t> DiskScanner::usage(const std::string& path) { return measureTree(path, true); }

std::int64_t DiskScanner::size(const std::string& path) { return measureTree(path, false).first; }

}  // namespace tw
