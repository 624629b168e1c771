#include <sys/attr.h>
#include <sys/mount.h>
#include <sys/vnode.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <memory>

#include "fs/bulk_list.h"

namespace tw {
namespace {

constexpr std::size_t kListingBuffer = 64 * 1024;

template <typename T>
T take(const char*& cursor) {
  T value;
  std::memcpy(&value, cursor, sizeof value);
  cursor += sizeof value;
  return value;
}

// One getattrlistbulk pass over the folder. Attributes come back in a fixed order, each only
// when its bit is in the returned set: error, name, object type, file id, link count,
// allocated size, private size.
template <typename OnRecord>
std::error_code forEachRecord(int folderFd, bool withSizes, OnRecord&& onRecord) {
  attrlist request{};
  request.bitmapcount = ATTR_BIT_MAP_COUNT;
  request.commonattr = ATTR_CMN_RETURNED_ATTRS | ATTR_CMN_NAME | ATTR_CMN_ERROR | ATTR_CMN_OBJTYPE | ATTR_CMN_FILEID;
  if (withSizes) {
    request.fileattr = ATTR_FILE_LINKCOUNT | ATTR_FILE_ALLOCSIZE;
    request.forkattr = ATTR_CMNEXT_PRIVATESIZE;  // extended common attributes ride in the fork slot
  }
  const auto buffer = std::make_unique_for_overwrite<char[]>(kListingBuffer);
  bool readOnce = false;
  for (;;) {
    const int count =
        ::getattrlistbulk(folderFd, &request, buffer.get(), kListingBuffer, withSizes ? FSOPT_ATTR_CMN_EXTENDED : 0);
    if (count < 0 && errno == EINTR) continue;
    if (count == 0 || (count < 0 && readOnce)) return {};
    if (count < 0) return {errno, std::generic_category()};
    readOnce = true;
    const char* record = buffer.get();
    for (int i = 0; i < count; ++i) {
      const char* cursor = record;
      const auto length = take<std::uint32_t>(cursor);
      const auto returned = take<attribute_set_t>(cursor);
      ListedEntry entry;
      std::uint32_t error = 0;
      if ((returned.commonattr & ATTR_CMN_ERROR) != 0) error = take<std::uint32_t>(cursor);
      if ((returned.commonattr & ATTR_CMN_NAME) != 0) {
        const char* base = cursor;
        const auto name = take<attrreference_t>(cursor);
        entry.name = std::string_view(base + name.attr_dataoffset);
      }
      if ((returned.commonattr & ATTR_CMN_OBJTYPE) != 0) entry.isDir = take<fsobj_type_t>(cursor) == VDIR;
      if ((returned.commonattr & ATTR_CMN_FILEID) != 0) entry.fileID = take<std::uint64_t>(cursor);
      if ((returned.fileattr & ATTR_FILE_LINKCOUNT) != 0) entry.links = take<std::uint32_t>(cursor);
      if ((returned.fileattr & ATTR_FILE_ALLOCSIZE) != 0) entry.size = take<off_t>(cursor);
      if ((returned.forkattr & ATTR_CMNEXT_PRIVATESIZE) != 0) entry.privateSize = take<off_t>(cursor);
      if (entry.isDir) entry.size = 0;
      if (error == 0 && !entry.name.empty()) onRecord(entry);
      record += length;
    }
  }
}

bool fileSystemNamed(int folderFd, std::initializer_list<std::string_view> names) {
  struct statfs info {};
  if (::fstatfs(folderFd, &info) != 0) return false;
  for (const auto name : names) {
    if (name == info.f_fstypename) return true;
  }
  return false;
}

}  // namespace

// APFS reports the private size itself, so there is nothing extra to measure.
std::error_code readFolder(int folderFd, bool, const EntryVisitor& visit) {
  return forEachRecord(folderFd, true, visit);
}

std::error_code readFolderNames(int folderFd, const NameVisitor& visit) {
  return forEachRecord(folderFd, false, [&](const ListedEntry& entry) {
    visit({entry.name, entry.isDir, entry.fileID});
  });
}

bool mayShareExtents(int folderFd) { return fileSystemNamed(folderFd, {"apfs"}); }

bool isPseudoFileSystem(int folderFd) { return fileSystemNamed(folderFd, {"devfs", "autofs", "fdesc"}); }

}  // namespace tw
