#pragma once

#include <cstdint>
#include <functional>
#include <string_view>
#include <system_error>

// The platform's fast folder listing: every entry of an open folder with the few attributes
// that sizing needs, fetched relative to the folder's descriptor.
namespace tw {

// One entry as the listing reports it. `name` points into the listing's buffer and is only
// valid while the visitor runs.
struct ListedEntry {
  std::string_view name;
  bool isDir = false;     // links and every other type are not folders
  std::int64_t size = 0;  // allocated bytes; 0 for folders
  std::uint64_t fileID = 0;
  std::uint64_t device = 0;  // 0 when the listing did not look (folders)
  std::uint32_t links = 1;
  std::int64_t privateSize = 0;  // allocated bytes not shared with another file
};

using EntryVisitor = std::function<void(const ListedEntry&)>;

// Calls `visit` for every readable entry in listing order ("." and ".." left out); entries
// that vanish or cannot be examined are skipped. `measureSharing` asks for the private size
// of files whose blocks may be shared (see mayShareExtents); without it the private size is
// the allocated size. An error only when the folder could not be read at all.
[[nodiscard]] std::error_code readFolder(int folderFd, bool measureSharing, const EntryVisitor& visit);

// A cheaper listing of names only, for walks that do not need sizes.
struct NamedEntry {
  std::string_view name;
  bool isDir = false;
  std::uint64_t fileID = 0;
};
using NameVisitor = std::function<void(const NamedEntry&)>;
[[nodiscard]] std::error_code readFolderNames(int folderFd, const NameVisitor& visit);

// True when the folder's file system lets files share blocks (reflink copies, snapshots), so
// the allocated size overstates what deleting a file frees.
[[nodiscard]] bool mayShareExtents(int folderFd);

// True for kernel views mounted as file systems (process and device tables, control groups,
// tracing) whose "files" are not disk space and must never be walked.
[[nodiscard]] bool isPseudoFileSystem(int folderFd);

}  // namespace tw
