#include "fs/anchored_remove.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <optional>

#include "fs/beneath.h"
#include "fs/bulk_list.h"
#include "fs/file_flags.h"
#include "fs/folder_walk.h"
#include "fs/open_folder.h"
#include "fs/path.h"
#include "fs/tree_remover.h"

namespace tw {
namespace {

AnchoredRemoval failed(std::errc error, std::int64_t freed = 0) { return {std::make_error_code(error), false, freed}; }
AnchoredRemoval failedWith(int error, std::int64_t freed = 0) {
  return {{error, std::generic_category()}, false, freed};
}
AnchoredRemoval gone() { return {{}, true, 0}; }

// `path` relative to `top`, or nothing when it does not lie strictly below it.
std::optional<std::string> relativeBelow(const std::string& top, const std::string& path) {
  const std::string base = standardizePath(top), item = standardizePath(path);
  const std::string prefix = base == "/" ? base : base + "/";
  if (!item.starts_with(prefix) || item.size() == prefix.size()) return std::nullopt;
  return item.substr(prefix.size());
}

std::int64_t freedByUnlinking(const struct stat& info) {
  return info.st_nlink > 1 ? 0 : static_cast<std::int64_t>(info.st_blocks) * 512;
}

AnchoredRemoval removeFolder(int parentFd, const std::string& name, const struct stat& listed) {
  UniqueFd folder = openFolderAt(parentFd, name.c_str());
  if (!folder) return errno == ENOENT ? gone() : failedWith(errno == ENOTDIR ? ELOOP : errno);
  const auto opened = identityOf(folder.get());
  if (!opened || opened->device != listed.st_dev || opened->inode != listed.st_ino) return failedWith(ESTALE);
  if (isMountRoot(folder.get())) return failed(std::errc::device_or_resource_busy);
  TreeRemover remover;
  const bool walkedWhole = walkFolders(folder.get(), remover, WalkRules{.stayOnDevice = true});
  folder.reset();
  if (!walkedWhole) return failedWith(ESTALE, remover.freed());
  if (remover.error()) return {remover.error(), false, remover.freed()};
  if (::unlinkat(parentFd, name.c_str(), AT_REMOVEDIR) != 0 && errno != ENOENT) {
    return failedWith(errno, remover.freed());
  }
  return {{}, false, remover.freed()};
}

// The open parent of the item below `top`, and the item's name and status there.
struct Reached {
  UniqueFd parent;
  std::string name;
  struct stat info {};
};

// Reaches the item: nothing with `outcome` set when it cannot be reached or is gone.
std::optional<Reached> reach(const std::string& top, const std::string& path, AnchoredRemoval& outcome) {
  const auto relative = relativeBelow(top, path);
  if (!relative) {
    outcome = failed(std::errc::invalid_argument);
    return std::nullopt;
  }
  // The top is trusted as the user named it, links in its own path included.
  const UniqueFd topFd{::open(standardizePath(top).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)};
  if (!topFd) {
    outcome = failedWith(errno);
    return std::nullopt;
  }
  Reached reached;
  std::error_code error;
  reached.parent = openFolderBeneath(topFd.get(), parentPath("/" + *relative).substr(1), error);
  if (!reached.parent) {
    outcome = error == std::errc::no_such_file_or_directory ? gone() : AnchoredRemoval{error, false, 0};
    return std::nullopt;
  }
  reached.name = lastPathComponent(*relative);
  if (::fstatat(reached.parent.get(), reached.name.c_str(), &reached.info, AT_SYMLINK_NOFOLLOW) != 0) {
    outcome = errno == ENOENT ? gone() : failedWith(errno);
    return std::nullopt;
  }
  return reached;
}

bool matches(const std::optional<FileIdentity>& expected, const struct stat& info) {
  if (!expected) return true;
  const auto type = static_cast<std::uint32_t>(info.st_mode & S_IFMT);
  return expected->inode == static_cast<std::uint64_t>(info.st_ino) &&
         (expected->device == 0 || expected->device == static_cast<std::uint64_t>(info.st_dev)) &&
         (expected->type == 0 || expected->type == type);
}

AnchoredRemoval unlinkReached(const Reached& reached) {
  // Unlinking never follows a link: a link swapped in here goes, not what it points to.
  if (::unlinkat(reached.parent.get(), reached.name.c_str(), 0) != 0) {
    return errno == ENOENT ? gone() : failedWith(errno);
  }
  return {{}, false, freedByUnlinking(reached.info)};
}

// Unlocks every regular file and folder a walk lists, before the walk enters the folders.
class FlagClearer : public FolderVisitor {
 public:
  void visit(int folderFd, const FileIdentity&, std::vector<Subfolder>& subfolders) override {
    (void)readFolderNames(folderFd, [&](const NamedEntry& entry) {
      const std::string name(entry.name);
      (void)clearProtectionFlagsAt(folderFd, name.c_str());
      if (entry.isDir) subfolders.push_back({name, entry.fileID});
    });
  }
};

}  // namespace

std::error_code clearProtectionFlags(const std::string& path) { return clearProtectionFlagsAt(AT_FDCWD, path.c_str()); }

void clearProtectionFlagsBeneath(const std::string& top, const std::string& path) {
  AnchoredRemoval outcome;
  const auto reached = reach(top, path, outcome);
  if (!reached) return;
  (void)clearProtectionFlagsAt(reached->parent.get(), reached->name.c_str());
  if (!S_ISDIR(reached->info.st_mode)) return;
  const UniqueFd folder = openFolderAt(reached->parent.get(), reached->name.c_str());
  const auto identity = folder ? identityOf(folder.get()) : std::nullopt;
  if (!identity || identity->inode != static_cast<std::uint64_t>(reached->info.st_ino) || isMountRoot(folder.get()))
    return;
  FlagClearer clearer;
  (void)walkFolders(folder.get(), clearer, WalkRules{.stayOnDevice = true});
}

AnchoredRemoval removeBeneath(const std::string& top, const std::string& path,
                              const std::optional<FileIdentity>& expected) {
  AnchoredRemoval outcome;
  const auto reached = reach(top, path, outcome);
  if (!reached) return outcome;
  if (!matches(expected, reached->info)) return failedWith(ESTALE);
  if (S_ISDIR(reached->info.st_mode)) return removeFolder(reached->parent.get(), reached->name, reached->info);
  return unlinkReached(*reached);
}

AnchoredRemoval removeFileBeneath(const std::string& top, const std::string& path) {
  AnchoredRemoval outcome;
  const auto reached = reach(top, path, outcome);
  if (!reached) return outcome;
  if (S_ISDIR(reached->info.st_mode)) return failed(std::errc::is_a_directory);
  return unlinkReached(*reached);
}

}  // namespace tw
