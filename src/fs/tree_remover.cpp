#include "fs/tree_remover.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <string>

#include "fs/bulk_list.h"

namespace tw {
namespace {

// Removing an entry that someone else removed first is not a failure.
bool removedOrGone(int result) { return result == 0 || errno == ENOENT; }

}  // namespace

void TreeRemover::fail(int error) {
  if (!error_) error_ = std::error_code(error, std::generic_category());
}

void TreeRemover::visit(int folderFd, const FileIdentity&, std::vector<Subfolder>& subfolders) {
  // Names first, deletions after: some file systems skip entries when a folder changes
  // while it is being read.
  std::vector<std::string> others;
  const std::error_code listing = readFolderNames(folderFd, [&](const NamedEntry& entry) {
    if (entry.isDir) {
      subfolders.push_back({std::string(entry.name), entry.fileID});
    } else {
      others.emplace_back(entry.name);
    }
  });
  if (listing) fail(listing.value());
  for (const auto& name : others) {
    struct stat info {};
    const bool known = ::fstatat(folderFd, name.c_str(), &info, AT_SYMLINK_NOFOLLOW) == 0;
    if (::unlinkat(folderFd, name.c_str(), 0) == 0) {
      if (known && info.st_nlink < 2) freed_ += static_cast<std::int64_t>(info.st_blocks) * 512;
    } else if (errno != ENOENT) {
      fail(errno);
    }
  }
}

void TreeRemover::skipped(int parentFd, const Subfolder& subfolder, SkipReason reason) {
  switch (reason) {
    case SkipReason::vanished:
      return;
    case SkipReason::notAFolder:
      // Unlinking never follows a link, so only the link itself goes.
      if (!removedOrGone(::unlinkat(parentFd, subfolder.name.c_str(), 0))) fail(errno);
      return;
    case SkipReason::otherDevice:
    case SkipReason::pseudoFileSystem:
      fail(EXDEV);
      return;
    case SkipReason::replaced:
      fail(ESTALE);
      return;
    case SkipReason::unreadable:
      fail(EACCES);
      return;
  }
}

void TreeRemover::finished(int parentFd, const Subfolder& subfolder) {
  if (!removedOrGone(::unlinkat(parentFd, subfolder.name.c_str(), AT_REMOVEDIR))) fail(errno);
}

}  // namespace tw
