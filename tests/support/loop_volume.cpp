#include "support/loop_volume.h"

#include <fcntl.h>
#include <linux/fiemap.h>
#include <linux/fs.h>
#include <sys/ioctl.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <cstring>
#include <vector>

#include "core/text.h"
#include "fs/unique_fd.h"
#include "support/fake_home.h"

namespace tw::test {
namespace {

struct Extent {
  std::uint64_t logical = 0;
  std::uint64_t physical = 0;
  std::uint64_t length = 0;
  std::uint32_t flags = 0;
};

std::vector<Extent> extents(const std::string& path) {
  std::vector<Extent> found;
  const UniqueFd fd{::open(path.c_str(), O_RDONLY | O_CLOEXEC)};
  constexpr unsigned capacity = 256;
  std::vector<std::uint64_t> storage((sizeof(fiemap) + capacity * sizeof(fiemap_extent)) / 8 + 1);
  auto* request = reinterpret_cast<fiemap*>(storage.data());
  for (bool last = !fd; !last;) {
    const std::uint64_t start = found.empty() ? 0 : found.back().logical + found.back().length;
    std::memset(request, 0, sizeof(fiemap));
    request->fm_start = start;
    request->fm_length = FIEMAP_MAX_OFFSET - start;
    request->fm_flags = FIEMAP_FLAG_SYNC;
    request->fm_extent_count = capacity;
    if (::ioctl(fd.get(), FS_IOC_FIEMAP, request) != 0 || request->fm_mapped_extents == 0) break;
    for (unsigned i = 0; i < request->fm_mapped_extents; ++i) {
      const fiemap_extent& extent = request->fm_extents[i];
      found.push_back({extent.fe_logical, extent.fe_physical, extent.fe_length, extent.fe_flags});
      last = last || (extent.fe_flags & FIEMAP_EXTENT_LAST) != 0;
    }
  }
  return found;
}

// The formatter of each kind of image; a tmpfs needs none.
std::vector<std::string> formatCommand(LoopVolume::Kind kind) {
  switch (kind) {
    case LoopVolume::Kind::xfsReflink:
      return {"mkfs.xfs", "-q", "-f", "-m", "reflink=1"};
    case LoopVolume::Kind::xfsPlain:
      return {"mkfs.xfs", "-q", "-f", "-m", "reflink=0"};
    case LoopVolume::Kind::btrfs:
      return {"mkfs.btrfs", "-q", "-f"};
    case LoopVolume::Kind::ext4:
      return {"mkfs.ext4", "-q", "-F"};
    case LoopVolume::Kind::tmpfs:
      break;
  }
  return {};
}

}  // namespace

std::unique_ptr<LoopVolume> LoopVolume::mount(Kind kind, std::int64_t bytes, std::string& whyNot,
                                              const std::string& mountPoint) {
  std::vector<std::string> command = formatCommand(kind);
  const auto fail = [&](const std::string& reason) {
    whyNot = reason;
    return nullptr;
  };
  if (::geteuid() != 0) return fail("mounting a test volume needs root");
  if (kind != Kind::tmpfs && ::access("/dev/loop-control", F_OK) != 0) {
    return fail("no loop devices (/dev/loop-control is missing)");
  }
  if (!command.empty() && runProcess({"sh", "-c", "command -v " + command[0]}).code != 0) {
    return fail(command[0] + " is not installed");
  }
  std::unique_ptr<LoopVolume> volume(new LoopVolume);
  volume->workFolder_ = makeTempFolder("tw-volume");
  const std::string target = mountPoint.empty() ? volume->workFolder_ + "/mnt" : mountPoint;
  makeFolders(target);
  if (kind == Kind::tmpfs) {
    command = {"mount", "-t", "tmpfs", "-o", "size=" + std::to_string(bytes), "tmpfs", target};
  } else {
    volume->image_ = volume->workFolder_ + "/volume.img";
    writeFile(volume->image_, "");
    if (::truncate(volume->image_.c_str(), bytes) != 0)
      return fail("could not size the image: " + std::string(std::strerror(errno)));
    command.push_back(volume->image_);
    const RunResult formatted = runProcess(command);
    if (formatted.code != 0) return fail(command[0] + " failed: " + formatted.err);
    command = {"mount", "-o", "loop", volume->image_, target};
  }
  const RunResult mounted = runProcess(command);
  if (mounted.code != 0) return fail("mount failed: " + mounted.err);
  volume->mountPoint_ = target;
  return volume;
}

LoopVolume::~LoopVolume() {
  if (!mountPoint_.empty()) {
    // A test that failed half-way may leave a process in the volume; a lazy unmount
    // still detaches it from the tree at once.
    if (runProcess({"umount", mountPoint_}).code != 0) (void)runProcess({"umount", "-l", mountPoint_});
  }
  if (!image_.empty()) {
    // mount -o loop frees its loop device on unmount; detach any that is left over.
    const RunResult attached = runProcess({"losetup", "-j", image_, "-O", "NAME", "-n"});
    for (const auto& line : splitLines(attached.out)) (void)runProcess({"losetup", "-d", line});
  }
  removeTree(workFolder_);
}

std::int64_t LoopVolume::freeBytes() const {
  if (const UniqueFd fd{::open(mountPoint_.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)}) ::syncfs(fd.get());
  struct statvfs info {};
  if (::statvfs(mountPoint_.c_str(), &info) != 0) return -1;
  return static_cast<std::int64_t>(info.f_bfree) * static_cast<std::int64_t>(info.f_frsize);
}

std::int64_t sharedBytes(const std::string& path) {
  std::int64_t shared = 0;
  for (const Extent& extent : extents(path)) {
    if ((extent.flags & FIEMAP_EXTENT_SHARED) != 0) shared += static_cast<std::int64_t>(extent.length);
  }
  return shared;
}

bool sameBlocks(const std::string& a, const std::string& b) {
  const auto first = extents(a);
  const auto second = extents(b);
  if (first.empty() || first.size() != second.size()) return false;
  for (std::size_t i = 0; i < first.size(); ++i) {
    if (first[i].logical != second[i].logical || first[i].physical != second[i].physical ||
        first[i].length != second[i].length) {
      return false;
    }
  }
  return true;
}

}  // namespace tw::test
