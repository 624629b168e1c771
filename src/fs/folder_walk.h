#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "fs/open_folder.h"

namespace tw {

// A subfolder found while listing, entered after its parent has been listed.
struct Subfolder {
  std::string name;
  std::uint64_t inode = 0;  // as listed; 0 when unknown
};

enum class SkipReason {
  vanished,          // gone before it was reached
  notAFolder,        // replaced by a link or a file before it was reached
  replaced,          // replaced by another folder before it was reached
  otherDevice,       // a mount point, and the walk stays on its device
  pseudoFileSystem,  // a kernel view such as /proc
  unreadable,
};

// What a depth-first walk does in each folder.
class FolderVisitor {
 public:
  virtual ~FolderVisitor() = default;
  // Lists the open folder and appends the subfolders to walk into.
  virtual void visit(int folderFd, const FileIdentity& folder, std::vector<Subfolder>& subfolders) = 0;
  // A listed subfolder that was not entered; its parent is open.
  virtual void skipped(int /*parentFd*/, const Subfolder& /*subfolder*/, SkipReason /*reason*/) {}
  // A subfolder whose whole content has been walked; it is closed, its parent open.
  virtual void finished(int /*parentFd*/, const Subfolder& /*subfolder*/) {}
};

struct WalkRules {
  bool stayOnDevice = false;  // never enter a folder on another device than the start
};

// Walks the tree below an open folder depth-first, without recursion. Subfolders are opened
// relative to their parent without following links and must still be the folder that was
// listed (same inode on the same device); pseudo file systems are never entered. Only a
// bounded number of descriptors stay open: deeper parents are closed and found again
// through "..", checked by device and inode, so trees deeper than the path limit or the
// descriptor limit are walked whole. False when the walk stopped early because a folder
// that it came back to was no longer the same.
[[nodiscard]] bool walkFolders(int startFd, FolderVisitor& visitor, WalkRules rules = {});

}  // namespace tw
