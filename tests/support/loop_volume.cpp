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
  const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) return found;
  constexpr unsigned capacity = 256;
  std::vector<std::uint64_t> storage((sizeof(fiemap) + capacity * sizeof(fiemap_extent)) / 8 + 1);
  auto* request = reinterpret_cast<fiemap*>(storage.data());
  std::uint64_t start = 0;
  for (bool last = false; !last;) {
    std::memset(request, 0, sizeof(fiemap));
    request->fm_start = start;
    request->fm_length = FIEMAP_MAX_OFFSET - start;
    request->fm_flags = FIEMAP_FLAG_SYNC;
    request->fm_extent_count = capacity;
    if (::ioctl(fd, FS_IOC_FIEMAP, request) != 0 || request->fm_mapped_extents == 0) break;
    for (unsigned i = 0; i < request->fm_mapped_extents; ++i) {
      const fiemap_extent& extent = request->fm_extents[i];
      found.push_back({extent.fe_logical, extent.fe_physical, extent.fe_length, extent.fe_flags});
      start = extent.fe_logical + extent.fe_length;
      last = last || (extent.fe_flags & FIEMAP_EXTENT_LAST) != 0;
    }
  }
  ::close(fd);
  return found;
}

bool hasProgram(const std::string& name) { return runProcess({"sh", "-c", "command -v " + name}).code == 0; }

std::string formatCommand(LoopVolume::Kind kind, std::vector<std::string>& command) {
  switch (kind) {
    case LoopVolume::Kind::xfsReflink:
      command = {"mkfs.xfs", "-q", "-f", "-m", "reflink=1"};
      return "mkfs.xfs";
    case LoopVolume::Kind::xfsPlain:
      command = {"mkfs.xfs", "-q", "-f", "-m", "reflink=0"};
      return "mkfs.xfs";
    case LoopVolume::Kind::btrfs:
      command = {"mkfs.btrfs", "-q", "-f"};
      return "mkfs.btrfs";
    case LoopVolume::Kind::ext4:
      command = {"mkfs.ext4", "-q", "-F"};
      return "mkfs.ext4";
    case LoopVolume::Kind::tmpfs:
      return "";
  }
  return "";
}

}  // namespace

std::unique_ptr<LoopVolume> LoopVolume::mount(Kind kind, std::int64_t bytes, std::string& whyNot,
                                              const std::string& mountPoint) {
  if (::geteuid() != 0) {
    whyNot = "mounting a test volume needs root";
    return nullptr;
  }
  std::vector<std::string> format;
  const std::string formatter = formatCommand(kind, format);
  if (kind != Kind::tmpfs && ::access("/dev/loop-control", F_OK) != 0) {
    whyNot = "no loop devices (/dev/loop-control is missing)";
    return nullptr;
  }
  if (!formatter.empty() && !hasProgram(formatter)) {
    whyNot = formatter + " is not installed";
    return nullptr;
  }
  std::unique_ptr<LoopVolume> volume(new LoopVolume);
  volume->workFolder_ = makeTempFolder("tw-volume");
  const std::string target = mountPoint.empty() ? volume->workFolder_ + "/mnt" : mountPoint;
  makeFolders(target);
  RunResult mounted;
  if (kind == Kind::tmpfs) {
    mounted = runProcess({"mount", "-t", "tmpfs", "-o", "size=" + std::to_string(bytes), "tmpfs", target});
  } else {
    volume->image_ = volume->workFolder_ + "/volume.img";
    writeFile(volume->image_, "");
    if (::truncate(volume->image_.c_str(), bytes) != 0) {
      whyNot = "could not size the image: " + std::string(std::strerror(errno));
      return nullptr;
    }
    format.push_back(volume->image_);
    const RunResult formatted = runProcess(format);
    if (formatted.code != 0) {
      whyNot = formatter + " failed: " + formatted.err;
      return nullptr;
    }
    mounted = runProcess({"mount", "-o", "loop", volume->image_, target});
  }
  if (mounted.code != 0) {
    whyNot = "mount failed: " + mounted.err;
    return nullptr;
  }
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
  const int fd = ::open(mountPoint_.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (fd >= 0) {
    ::syncfs(fd);
    ::close(fd);
  }
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
