#include "lens/lens_fixtures.h"

#include <fcntl.h>
#include <grp.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <random>
#include <set>
#include <sstream>
#include <stdexcept>

#include "support/fake_home.h"

namespace tw::test {
namespace {

void require(bool ok, const std::string& what) {
  if (!ok) throw std::runtime_error(what + ": " + std::strerror(errno));
}

bool run(const std::vector<std::string>& command, std::string& failure) {
  const auto result = runProcess(command);
  if (result.code == 0) return true;
  failure = command[0] + " failed (" + std::to_string(result.code) + "): " + result.err;
  return false;
}

}  // namespace

ScratchVolume::ScratchVolume(const std::string& type, const std::string& mountPoint)
    : folder_(makeTempFolder("tw-volume")), mountPoint_(mountPoint) {
  if (mountPoint_.empty()) {
    mountPoint_ = folder_ + "/mnt";
    makeFolders(mountPoint_);
    ownsMountPoint_ = true;
  }
  if (::geteuid() != 0) {
    reason_ = "mounting a scratch volume needs root";
    return;
  }
  if (type == "tmpfs") {
    ready_ = run({"mount", "-t", "tmpfs", "-o", "size=64m", "tmpfs", mountPoint_}, reason_);
    return;
  }
  const std::string image = folder_ + "/volume.img";
  if (!run({"truncate", "-s", type == "xfs" ? "320M" : "128M", image}, reason_)) return;
  const std::vector<std::string> format = type == "xfs"
                                              ? std::vector<std::string>{"mkfs.xfs", "-q", "-m", "reflink=1", image}
                                              : std::vector<std::string>{"mkfs.btrfs", "-q", image};
  if (!run(format, reason_)) return;
  ready_ = run({"mount", "-o", "loop", image, mountPoint_}, reason_);
}

ScratchVolume::~ScratchVolume() {
  if (ready_) {
    std::string ignored;
    if (!run({"umount", mountPoint_}, ignored)) (void)run({"umount", "-l", mountPoint_}, ignored);
  }
  removeTree(folder_);
}

void makeVariedTree(const std::string& root, unsigned seed) {
  std::mt19937 random(seed);
  const auto pick = [&](int low, int high) { return std::uniform_int_distribution<int>(low, high)(random); };
  std::vector<std::string> folders{root};
  makeFolders(root);
  for (int i = 0; i < 24; ++i) {
    const std::string parent = folders[static_cast<std::size_t>(pick(0, static_cast<int>(folders.size()) - 1))];
    const std::string folder = parent + "/d" + std::to_string(i);
    makeFolders(folder);
    folders.push_back(folder);
  }
  std::vector<std::string> files;
  for (int i = 0; i < 120; ++i) {
    const std::string folder = folders[static_cast<std::size_t>(pick(0, static_cast<int>(folders.size()) - 1))];
    const std::string file = folder + "/f" + std::to_string(i);
    const int kind = pick(0, 9);
    if (kind < 6) {
      writeFilledFile(file, pick(0, 70'000));
    } else if (kind < 8) {
      writeFilledFile(file, pick(1'048'576, 3'000'000));
    } else {
      // Sparse: a large length with only a little data written.
      writeFile(file, "sparse");
      require(::truncate(file.c_str(), pick(1, 50) * 1'048'576L) == 0, "truncate " + file);
    }
    files.push_back(file);
  }
  for (int i = 0; i < 10; ++i) {
    const std::string target = files[static_cast<std::size_t>(pick(0, static_cast<int>(files.size()) - 1))];
    const std::string folder = folders[static_cast<std::size_t>(pick(0, static_cast<int>(folders.size()) - 1))];
    const std::string link = folder + "/h" + std::to_string(i);
    if (::link(target.c_str(), link.c_str()) != 0 && errno != EEXIST) require(false, "link " + link);
  }
  for (int i = 0; i < 6; ++i) {
    const std::string folder = folders[static_cast<std::size_t>(pick(0, static_cast<int>(folders.size()) - 1))];
    const std::string target = i % 2 == 0 ? "/usr" : files[static_cast<std::size_t>(i)];
    require(::symlink(target.c_str(), (folder + "/s" + std::to_string(i)).c_str()) == 0, "symlink");
  }
  makeFolders(root + "/empty/inside");
}

FindTotals findTotals(const std::string& root) {
  FindTotals totals;
  const auto files = runProcess({"find", root, "-mindepth", "1", "!", "-type", "d", "-printf", "%i %b\n"});
  if (files.code != 0) throw std::runtime_error("find failed: " + files.err);
  std::istringstream lines(files.out);
  std::set<std::uint64_t> seen;
  std::uint64_t inode = 0;
  std::int64_t blocks = 0;
  while (lines >> inode >> blocks) {
    totals.everyName += blocks * 512;
    if (seen.insert(inode).second) totals.eachInodeOnce += blocks * 512;
  }
  const auto all = runProcess({"find", root, "-mindepth", "1", "-printf", "x\n"});
  totals.entries = static_cast<std::int64_t>(std::count(all.out.begin(), all.out.end(), '\n'));
  return totals;
}

void makeDeepChain(const std::string& root, int depth, const std::string& name, std::int64_t fileBytes) {
  makeFolders(root);
  int fd = ::open(root.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  require(fd >= 0, "open " + root);
  for (int level = 0; level < depth; ++level) {
    require(::mkdirat(fd, name.c_str(), 0755) == 0, "mkdirat");
    const int next = ::openat(fd, name.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    ::close(fd);
    require(next >= 0, "openat");
    fd = next;
  }
  const int file = ::openat(fd, "bottom", O_WRONLY | O_CREAT | O_CLOEXEC, 0644);
  ::close(fd);
  require(file >= 0, "create bottom file");
  const std::string block(65536, 'b');
  for (std::int64_t written = 0; written < fileBytes;) {
    const auto chunk = static_cast<std::size_t>(std::min<std::int64_t>(65536, fileBytes - written));
    require(::write(file, block.data(), chunk) == static_cast<ssize_t>(chunk), "write");
    written += static_cast<std::int64_t>(chunk);
  }
  ::close(file);
}

bool permissionsAreIgnored() { return ::geteuid() == 0; }

std::optional<std::int64_t> asNobody(const std::function<std::int64_t()>& work) {
  if (::geteuid() != 0) return std::nullopt;
  int channel[2];
  require(::pipe2(channel, O_CLOEXEC) == 0, "pipe");
  const pid_t child = ::fork();
  require(child >= 0, "fork");
  if (child == 0) {
    ::close(channel[0]);
    constexpr uid_t kNobody = 65534;
    if (::setgroups(0, nullptr) != 0 || ::setgid(kNobody) != 0 || ::setuid(kNobody) != 0) ::_exit(1);
    const std::int64_t result = work();
    const bool written = ::write(channel[1], &result, sizeof result) == static_cast<ssize_t>(sizeof result);
    ::_exit(written ? 0 : 1);
  }
  ::close(channel[1]);
  std::int64_t result = 0;
  const bool read = ::read(channel[0], &result, sizeof result) == static_cast<ssize_t>(sizeof result);
  ::close(channel[0]);
  int status = 0;
  while (::waitpid(child, &status, 0) < 0 && errno == EINTR) {
  }
  if (!read || !WIFEXITED(status) || WEXITSTATUS(status) != 0) throw std::runtime_error("unprivileged child failed");
  return result;
}

}  // namespace tw::test
