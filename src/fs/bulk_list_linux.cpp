#include <dirent.h>
#include <fcntl.h>
#include <linux/fiemap.h>
#include <linux/fs.h>
#include <linux/magic.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/statfs.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <memory>
#include <vector>

#include "fs/bulk_list.h"
#include "fs/mounts.h"
#include "fs/unique_fd.h"

namespace tw {
namespace {

// Large enough that most folders come back in one or two calls.
constexpr std::size_t kListingBuffer = 64 * 1024;
// Below this a file is at most a few blocks; asking for its extent map costs more than the
// sharing it could reveal.
constexpr std::int64_t kSharingThreshold = 32 * 1024;
constexpr unsigned long kConfigfsMagic = 0x62656570;

bool isDotOrDotDot(const char* name) {
  return name[0] == '.' && (name[1] == '\0' || (name[1] == '.' && name[2] == '\0'));
}

// Runs `onRecord(dirent64&)` for every record of the folder except "." and "..". An error
// after part of the folder was read ends the listing without failing it.
template <typename OnRecord>
std::error_code forEachRecord(int folderFd, OnRecord&& onRecord) {
  const auto buffer = std::make_unique_for_overwrite<char[]>(kListingBuffer);
  bool readOnce = false;
  for (;;) {
    const ssize_t count = ::getdents64(folderFd, buffer.get(), kListingBuffer);
    if (count < 0 && errno == EINTR) continue;
    if (count == 0 || (count < 0 && readOnce)) return {};
    if (count < 0) return {errno, std::generic_category()};
    readOnce = true;
    for (ssize_t offset = 0; offset < count;) {
      const auto* record = reinterpret_cast<const dirent64*>(buffer.get() + offset);
      offset += record->d_reclen;
      if (!isDotOrDotDot(record->d_name)) onRecord(*record);
    }
  }
}

// Bytes of the file's extents that other files share (reflink copies, snapshots).
std::int64_t sharedBytes(int folderFd, const char* name) {
  UniqueFd file{::openat(folderFd, name, O_RDONLY | O_NOFOLLOW | O_CLOEXEC | O_NOCTTY | O_NONBLOCK)};
  if (!file) return 0;
  constexpr std::size_t kExtents = 128;
  // The request is a header followed by room for the extents the kernel fills in.
  std::vector<std::uint64_t> storage((sizeof(fiemap) + kExtents * sizeof(fiemap_extent)) / sizeof(std::uint64_t) + 1);
  auto* request = reinterpret_cast<fiemap*>(storage.data());
  std::int64_t shared = 0;
  std::uint64_t start = 0;
  for (;;) {
    std::memset(request, 0, sizeof(fiemap));
    request->fm_start = start;
    request->fm_length = FIEMAP_MAX_OFFSET - start;
    request->fm_extent_count = kExtents;
    if (::ioctl(file.get(), FS_IOC_FIEMAP, request) != 0) return shared;
    const unsigned mapped = request->fm_mapped_extents;
    if (mapped == 0) return shared;
    for (unsigned i = 0; i < mapped; ++i) {
      const fiemap_extent& extent = request->fm_extents[i];
      if ((extent.fe_flags & FIEMAP_EXTENT_SHARED) != 0) shared += static_cast<std::int64_t>(extent.fe_length);
      if ((extent.fe_flags & FIEMAP_EXTENT_LAST) != 0) return shared;
      start = extent.fe_logical + extent.fe_length;
    }
  }
}

}  // namespace

std::error_code readFolder(int folderFd, bool measureSharing, const EntryVisitor& visit) {
  return forEachRecord(folderFd, [&](const dirent64& record) {
    ListedEntry entry;
    entry.name = record.d_name;
    entry.fileID = record.d_ino;
    // Folders need nothing beyond their type: their own blocks are not counted.
    if (record.d_type == DT_DIR) {
      entry.isDir = true;
      visit(entry);
      return;
    }
    struct statx info {};
    constexpr unsigned kWanted = STATX_TYPE | STATX_INO | STATX_NLINK | STATX_BLOCKS;
    if (::statx(folderFd, record.d_name, AT_SYMLINK_NOFOLLOW | AT_STATX_DONT_SYNC | AT_NO_AUTOMOUNT, kWanted, &info) !=
        0) {
      return;  // vanished or unreadable since the folder was read
    }
    entry.fileID = info.stx_ino;
    if (S_ISDIR(info.stx_mode)) {
      entry.isDir = true;
      visit(entry);
      return;
    }
    entry.device = makedev(info.stx_dev_major, info.stx_dev_minor);
    if ((info.stx_mask & STATX_NLINK) != 0 && info.stx_nlink > 1) entry.links = info.stx_nlink;
    if ((info.stx_mask & STATX_BLOCKS) != 0) entry.size = static_cast<std::int64_t>(info.stx_blocks) * 512;
    entry.privateSize = entry.size;
    if (measureSharing && S_ISREG(info.stx_mode) && entry.size >= kSharingThreshold) {
      entry.privateSize = std::max<std::int64_t>(0, entry.size - sharedBytes(folderFd, record.d_name));
    }
    visit(entry);
  });
}

std::error_code readFolderNames(int folderFd, const NameVisitor& visit) {
  return forEachRecord(folderFd, [&](const dirent64& record) {
    NamedEntry entry{record.d_name, record.d_type == DT_DIR, record.d_ino};
    if (record.d_type == DT_UNKNOWN) {
      struct stat info {};
      if (::fstatat(folderFd, record.d_name, &info, AT_SYMLINK_NOFOLLOW) != 0) return;
      entry.isDir = S_ISDIR(info.st_mode);
      entry.fileID = info.st_ino;
    }
    visit(entry);
  });
}

bool mayShareExtents(int folderFd) {
  struct statfs info {};
  if (::fstatfs(folderFd, &info) != 0) return false;
  return info.f_type == BTRFS_SUPER_MAGIC || info.f_type == XFS_SUPER_MAGIC;
}

bool isPseudoFileSystem(int folderFd) {
  struct statfs info {};
  if (::fstatfs(folderFd, &info) != 0) return false;
  switch (static_cast<unsigned long>(info.f_type)) {
    case PROC_SUPER_MAGIC:
    case SYSFS_MAGIC:
    case CGROUP_SUPER_MAGIC:
    case CGROUP2_SUPER_MAGIC:
    case DEBUGFS_MAGIC:
    case TRACEFS_MAGIC:
    case SECURITYFS_MAGIC:
    case kConfigfsMagic:
    case DEVPTS_SUPER_MAGIC:
    case BPF_FS_MAGIC:
    case PSTOREFS_MAGIC:
    case EFIVARFS_MAGIC:
      return true;
    case TMPFS_MAGIC:
    case RAMFS_MAGIC:
      break;  // devtmpfs reports these too; only the mount table tells them apart
    default:
      return false;
  }
  struct stat folder {};
  if (::fstat(folderFd, &folder) != 0) return false;
  const auto volumes = mountedVolumes();
  return std::any_of(volumes.begin(), volumes.end(), [&](const MountedVolume& volume) {
    return volume.device == static_cast<std::uint64_t>(folder.st_dev) && volume.type == "devtmpfs";
  });
}

}  // namespace tw
