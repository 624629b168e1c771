#include "trash/trash_reader.h"

#include <sys/stat.h>

#include <cerrno>
#include <set>

#include "fs/path.h"
#include "fs/usage.h"
#include "trash/trash_layout.h"

namespace tw {
namespace {

bool missing(const std::string& path) {
  struct stat info {};
  return ::lstat(path.c_str(), &info) != 0 && errno == ENOENT;
}

}  // namespace

bool isTrashBookkeeping(const std::string& name) { return name == ".DS_Store" || name == ".localized"; }

TrashListing readTrashFolder(const TrashDir& dir, const Context& context) {
  TrashListing listing;
  const auto entries = listFolder(dir.dir);
  if (!entries) {
    // A Trash that was never used has no folder yet; that is an empty Trash, not a denial.
    listing.readable = missing(dir.dir);
    return listing;
  }
  std::set<std::string> names;
  for (const auto& entry : *entries) {
    if (!isTrashBookkeeping(entry.name)) names.insert(entry.name);
  }
  const auto records = TrashLayout::records(dir, names, context);
  for (const auto& entry : *entries) {
    if (isTrashBookkeeping(entry.name)) continue;
    TrashItem item;
    item.path = joinPath(dir.dir, entry.name);
    item.name = entry.name;
    item.isDir = entry.isDir;
    item.inode = entry.fileID;
    if (const auto record = records.find(entry.name); record != records.end()) {
      item.origin = record->second.origin;
      item.trashed = record->second.trashed;
    }
    if (!entry.isDir) {
      item.size = entry.size;
      // Another name keeps a file with several links on disk: deleting this one frees nothing.
      item.freeable = entry.links > 1 ? 0 : entry.privateSize;
    }
    listing.items.push_back(std::move(item));
  }
  return listing;
}

}  // namespace tw
