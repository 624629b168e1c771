#include "fs/folder_walk.h"

#include <cerrno>

#include "fs/beneath.h"
#include "fs/bulk_list.h"

namespace tw {
namespace {

// Parents this close to the start keep their descriptor while their subfolders are walked.
constexpr std::size_t kOpenLevels = 48;

struct Frame {
  UniqueFd owned;  // empty for the start folder, which the caller owns
  int fd = -1;     // -1 while closed to save descriptors
  FileIdentity identity;
  std::vector<Subfolder> subfolders;
  std::size_t next = 0;
};

SkipReason reasonForOpenFailure(int error) {
  switch (error) {
    case ENOENT:
      return SkipReason::vanished;
    case ELOOP:
    case ENOTDIR:
      return SkipReason::notAFolder;
    default:
      return SkipReason::unreadable;
  }
}

// Finds a closed parent again from its child, refusing anything but the folder it was.
bool reopenParent(Frame& parent, int childFd) {
  UniqueFd up = openFolderAt(childFd, "..");
  if (!up) return false;
  const auto identity = identityOf(up.get());
  if (!identity || *identity != parent.identity) return false;
  parent.owned = std::move(up);
  parent.fd = parent.owned.get();
  return true;
}

}  // namespace

bool walkFolders(int startFd, FolderVisitor& visitor, WalkRules rules) {
  const auto start = identityOf(startFd);
  if (!start) return false;
  std::vector<Frame> frames(1);
  frames[0].fd = startFd;
  frames[0].identity = *start;
  visitor.visit(startFd, *start, frames[0].subfolders);

  while (!frames.empty()) {
    Frame& top = frames.back();
    if (top.next == top.subfolders.size()) {
      if (frames.size() == 1) break;
      Frame& parent = frames[frames.size() - 2];
      if (parent.fd < 0 && !reopenParent(parent, top.fd)) return false;
      frames.pop_back();
      visitor.finished(parent.fd, parent.subfolders[parent.next - 1]);
      continue;
    }
    const Subfolder& subfolder = top.subfolders[top.next++];
    UniqueFd child = openFolderAt(top.fd, subfolder.name.c_str());
    if (!child) {
      visitor.skipped(top.fd, subfolder, reasonForOpenFailure(errno));
      continue;
    }
    const auto identity = identityOf(child.get());
    if (!identity) {
      visitor.skipped(top.fd, subfolder, SkipReason::unreadable);
      continue;
    }
    // A bind mount shows the same device; only the mount table's view tells it apart.
    if (identity->device != top.identity.device || (rules.stayOnDevice && isMountRoot(child.get()))) {
      if (rules.stayOnDevice) {
        visitor.skipped(top.fd, subfolder, SkipReason::otherDevice);
        continue;
      }
      if (isPseudoFileSystem(child.get())) {
        visitor.skipped(top.fd, subfolder, SkipReason::pseudoFileSystem);
        continue;
      }
    } else if (subfolder.inode != 0 && identity->inode != subfolder.inode) {
      visitor.skipped(top.fd, subfolder, SkipReason::replaced);
      continue;
    }
    if (frames.size() > kOpenLevels) {
      top.owned.reset();
      top.fd = -1;
    }
    Frame frame;
    frame.owned = std::move(child);
    frame.fd = frame.owned.get();
    frame.identity = *identity;
    frames.push_back(std::move(frame));
    Frame& entered = frames.back();
    visitor.visit(entered.fd, entered.identity, entered.subfolders);
  }
  return true;
}

}  // namespace tw
