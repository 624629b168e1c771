// macOS has no in-place sharing: the kept file is cloned under a temporary name beside
// the copy, given the copy's metadata, verified, and renamed over the copy.
#include <fcntl.h>
#include <sys/acl.h>
#include <sys/attr.h>
#include <sys/clonefile.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>
#include <uuid/uuid.h>

#include <cerrno>
#include <cstring>
#include <map>
#include <memory>
#include <optional>
#include <vector>

#include "dedupe/block_sharing.h"
#include "fs/path.h"
#include "fs/unique_fd.h"

namespace tw {
namespace {

using Status = ShareOutcome::Status;
using Attributes = std::map<std::string, std::vector<char>>;

std::string temporaryPath(const std::string& copy) {
  uuid_t id;
  uuid_string_t text;
  uuid_generate_random(id);
  uuid_unparse_upper(id, text);
  return joinPath(parentPath(copy), std::string(".tidewarden-clone-") + text);
}

std::optional<std::vector<std::string>> xattrNames(const std::string& path) {
  const ssize_t size = ::listxattr(path.c_str(), nullptr, 0, XATTR_NOFOLLOW);
  if (size < 0) return std::nullopt;
  std::vector<char> buffer(static_cast<std::size_t>(size));
  const ssize_t got = ::listxattr(path.c_str(), buffer.data(), buffer.size(), XATTR_NOFOLLOW);
  if (got < 0) return std::nullopt;
  std::vector<std::string> names;
  for (std::size_t at = 0; at < static_cast<std::size_t>(got); at += names.back().size() + 1)
    names.emplace_back(&buffer[at]);
  return names;
}

std::optional<Attributes> xattrs(const std::string& path) {
  const auto names = xattrNames(path);
  if (!names) return std::nullopt;
  Attributes values;
  for (const auto& name : *names) {
    const ssize_t size = ::getxattr(path.c_str(), name.c_str(), nullptr, 0, 0, XATTR_NOFOLLOW);
    if (size < 0) return std::nullopt;
    std::vector<char> value(static_cast<std::size_t>(size));
    if (::getxattr(path.c_str(), name.c_str(), value.data(), value.size(), 0, XATTR_NOFOLLOW) != size)
      return std::nullopt;
    values[name] = std::move(value);
  }
  return values;
}

std::optional<std::string> aclText(const std::string& path) {
  acl_t acl = ::acl_get_link_np(path.c_str(), ACL_TYPE_EXTENDED);
  if (acl == nullptr) return errno == ENOENT ? std::optional<std::string>("") : std::nullopt;
  char* text = ::acl_to_text(acl, nullptr);
  std::optional<std::string> result = text != nullptr ? std::optional<std::string>(text) : std::nullopt;
  if (text != nullptr) ::acl_free(text);
  ::acl_free(acl);
  return result;
}

bool sameContents(const std::string& a, const std::string& b) {
  UniqueFd first{::open(a.c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC)};
  UniqueFd second{::open(b.c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC)};
  if (!first || !second) return false;
  ::fcntl(first.get(), F_NOCACHE, 1);
  ::fcntl(second.get(), F_NOCACHE, 1);
  std::vector<char> left(1 << 20), right(1 << 20);
  const auto fill = [](int fd, std::vector<char>& block) -> ssize_t {
    std::size_t done = 0;
    while (done < block.size()) {
      const ssize_t got = ::read(fd, block.data() + done, block.size() - done);
      if (got < 0 && errno == EINTR) continue;
      if (got < 0) return -1;
      if (got == 0) break;
      done += static_cast<std::size_t>(got);
    }
    return static_cast<ssize_t>(done);
  };
  for (;;) {
    const ssize_t l = fill(first.get(), left);
    const ssize_t r = fill(second.get(), right);
    if (l < 0 || r < 0 || l != r) return false;
    if (l == 0) return true;
    if (std::memcmp(left.data(), right.data(), static_cast<std::size_t>(l)) != 0) return false;
  }
}

void discard(const std::string& path) {
  if (::unlink(path.c_str()) == 0) return;
  ::lchflags(path.c_str(), 0);
  ::unlink(path.c_str());
}

bool setDates(const std::string& path, const struct stat& from) {
  attrlist list{};
  list.bitmapcount = ATTR_BIT_MAP_COUNT;
  list.commonattr = ATTR_CMN_CRTIME | ATTR_CMN_MODTIME | ATTR_CMN_ACCTIME;
  const timespec dates[3] = {from.st_birthtimespec, from.st_mtimespec, from.st_atimespec};
  return ::setattrlist(path.c_str(), &list, const_cast<timespec*>(dates), sizeof dates, FSOPT_NOFOLLOW) == 0;
}

bool sameDates(const struct stat& a, const struct stat& b) {
  const auto same = [](const timespec& x, const timespec& y) { return x.tv_sec == y.tv_sec && x.tv_nsec == y.tv_nsec; };
  return same(a.st_birthtimespec, b.st_birthtimespec) && same(a.st_mtimespec, b.st_mtimespec);
}

// Gives the clone everything of the copy but its data, then checks that it took.
Status dressClone(const std::string& clone, const std::string& copy, const struct stat& copyInfo) {
  if (::lchflags(clone.c_str(), 0) != 0 || ::lchmod(clone.c_str(), 0600) != 0) return Status::prepareFailed;
  const auto inherited = xattrNames(clone);
  if (!inherited) return Status::resetAttributesFailed;
  for (const auto& name : *inherited) {
    if (name != "com.apple.provenance" && ::removexattr(clone.c_str(), name.c_str(), XATTR_NOFOLLOW) != 0) {
      return Status::resetAttributesFailed;
    }
  }
  acl_t empty = ::acl_init(0);
  ::acl_set_link_np(clone.c_str(), ACL_TYPE_EXTENDED, empty);
  ::acl_free(empty);
  const auto attributes = xattrs(copy);
  if (!attributes) return Status::readAttributesFailed;
  for (const auto& [name, value] : *attributes) {
    if (::setxattr(clone.c_str(), name.c_str(), value.data(), value.size(), 0, XATTR_NOFOLLOW) != 0) {
      return Status::copyAttributesFailed;
    }
  }
  const auto acl = aclText(copy);
  if (!acl) return Status::readACLFailed;
  if (::lchown(clone.c_str(), copyInfo.st_uid, copyInfo.st_gid) != 0 ||
      ::lchmod(clone.c_str(), copyInfo.st_mode & 07777) != 0) {
    return Status::copyOwnerFailed;
  }
  if (::lchflags(clone.c_str(), copyInfo.st_flags) != 0) return Status::copyFlagsFailed;
  if (!setDates(clone, copyInfo)) return Status::restoreDatesFailed;
  if (!acl->empty()) {
    acl_t copied = ::acl_get_link_np(copy.c_str(), ACL_TYPE_EXTENDED);
    const bool ok = copied != nullptr && ::acl_set_link_np(clone.c_str(), ACL_TYPE_EXTENDED, copied) == 0;
    if (copied != nullptr) ::acl_free(copied);
    if (!ok) return Status::copyACLFailed;
  }
  struct stat cloneInfo {};
  if (::lstat(clone.c_str(), &cloneInfo) != 0 || cloneInfo.st_mode != copyInfo.st_mode ||
      cloneInfo.st_uid != copyInfo.st_uid || cloneInfo.st_gid != copyInfo.st_gid ||
      cloneInfo.st_flags != copyInfo.st_flags || cloneInfo.st_size != copyInfo.st_size ||
      !sameDates(cloneInfo, copyInfo)) {
    return Status::metadataDiffers;
  }
  if (xattrs(clone) != attributes) return Status::attributesDiffer;
  if (aclText(clone) != acl) return Status::aclDiffers;
  return Status::shared;
}

}  // namespace

ShareOutcome shareWithKept(const std::string& keep, const FileState& keepState, const std::string& copy,
                           const FileState& copyState) {
  struct stat copyInfo {};
  if (::lstat(copy.c_str(), &copyInfo) != 0) return {Status::changedWhileSharing, {}, false};
  const std::string clone = temporaryPath(copy);
  if (::clonefile(keep.c_str(), clone.c_str(), CLONE_NOFOLLOW | CLONE_NOOWNERCOPY) != 0) {
    if (errno == ENOTSUP) return {Status::unsupported, {}, false};
    return {Status::failed, {errno, std::generic_category()}, false};
  }
  const auto cloned = linkState(clone);
  if (!cloned || cloned->size != keepState.size || !sameContents(clone, copy)) {
    discard(clone);
    return {Status::noLongerIdentical, {}, false};
  }
  if (const Status dressed = dressClone(clone, copy, copyInfo); dressed != Status::shared) {
    discard(clone);
    return {dressed, {}, false};
  }
  const auto now = linkState(copy);
  if (!now || !copyState.unchangedIn(*now)) {
    discard(clone);
    return {Status::changedWhileSharing, {}, false};
  }
  if (::rename(clone.c_str(), copy.c_str()) != 0) {
    const int error = errno;
    discard(clone);
    if (error == EACCES || error == EPERM) return {Status::renameProtected, {}, false};
    return {Status::renameFailed, {error, std::generic_category()}, false};
  }
  return {};
}

bool volumeCanShare(const std::string& path) {
  // Volume attributes are answered for the volume's root only.
  struct statfs volume {};
  if (::statfs(path.c_str(), &volume) != 0) return false;
  attrlist list{};
  list.bitmapcount = ATTR_BIT_MAP_COUNT;
  list.volattr = ATTR_VOL_INFO | ATTR_VOL_CAPABILITIES;
  struct {
    std::uint32_t length;
    vol_capabilities_attr_t capabilities;
  } __attribute__((packed)) reply{};
  if (::getattrlist(volume.f_mntonname, &list, &reply, sizeof reply, 0) != 0) return false;
  const auto& format = reply.capabilities;
  return (format.valid[VOL_CAPABILITIES_INTERFACES] & format.capabilities[VOL_CAPABILITIES_INTERFACES] &
          VOL_CAP_INT_CLONE) != 0;
}

}  // namespace tw
