#include "fs/usage.h"

#include <fcntl.h>
#include <sys/stat.h>

#include "fs/bulk_list.h"
#include "fs/folder_walk.h"
#include "fs/open_folder.h"

namespace tw {
namespace {

// Adds up the files below a folder. A multiply-linked file counts in the size every time it
// is met and never as freeable: deleting one of its names frees nothing.
class UsageCounter : public FolderVisitor {
 public:
  UsageCounter(bool wantFreeable, std::stop_token stop) : wantFreeable_(wantFreeable), stop_(std::move(stop)) {}

  void visit(int folderFd, const FileIdentity& folder, std::vector<Subfolder>& subfolders) override {
    if (stop_.stop_requested()) return;  // nothing more is entered
    const bool measureSharing = wantFreeable_ && sharingOn(folderFd, folder.device);
    (void)readFolder(folderFd, measureSharing, [&](const ListedEntry& entry) {
      if (entry.isDir) {
        subfolders.push_back({std::string(entry.name), entry.fileID});
        return;
      }
      usage.size += entry.size;
      if (entry.links < 2) usage.freeable += entry.privateSize;
    });
  }

  Usage usage;

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
  std::stop_token stop_;
  std::optional<std::uint64_t> knownDevice_;
  bool sharing_ = false;
};

Usage measureTree(const std::string& path, bool wantFreeable, std::stop_token stop) {
  struct stat info {};
  if (::lstat(path.c_str(), &info) != 0) return {};
  if (!S_ISDIR(info.st_mode)) {
    const std::int64_t size = static_cast<std::int64_t>(info.st_blocks) * 512;
    return {size, info.st_nlink < 2 ? size : 0};
  }
  const UniqueFd folder = openFolder(path);
  if (!folder || isPseudoFileSystem(folder.get())) return {};
  UsageCounter counter(wantFreeable, std::move(stop));
  (void)walkFolders(folder.get(), counter);
  return counter.usage;
}

}  // namespace

namespace {

std::optional<std::vector<FolderEntry>> listOpenFolder(const UniqueFd& folder) {
  if (!folder) return std::nullopt;
  std::vector<FolderEntry> entries;
  const auto error = readFolder(folder.get(), mayShareExtents(folder.get()), [&](const ListedEntry& entry) {
    entries.push_back({std::string(entry.name), entry.isDir, entry.size, entry.fileID, entry.links, entry.privateSize});
  });
  if (error) return std::nullopt;
  return entries;
}

}  // namespace

std::optional<std::vector<FolderEntry>> listFolder(const std::string& path) { return listOpenFolder(openFolder(path)); }

std::optional<std::vector<NamedFolderEntry>> listFolderNames(const std::string& path) {
  const UniqueFd folder = openFolder(path);
  if (!folder) return std::nullopt;
  std::vector<NamedFolderEntry> entries;
  const auto error = readFolderNames(folder.get(), [&](const NamedEntry& entry) {
    entries.push_back({std::string(entry.name), entry.isDir});
  });
  if (error) return std::nullopt;
  return entries;
}

std::vector<std::string> subfolderNames(const std::string& path) {
  std::vector<std::string> names;
  for (auto& entry : listFolderNames(path).value_or(std::vector<NamedFolderEntry>{})) {
    if (entry.isDir) names.push_back(std::move(entry.name));
  }
  return names;
}

std::optional<std::vector<FolderEntry>> listRootFolder(const std::string& path) {
  return listOpenFolder(UniqueFd{::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC | O_NOCTTY)});
}

Usage usageOf(const std::string& path, std::stop_token stop) { return measureTree(path, true, std::move(stop)); }

std::int64_t allocatedSize(const std::string& path, std::stop_token stop) {
  return measureTree(path, false, std::move(stop)).size;
}

}  // namespace tw
