#include "lens/lens_fixtures.h"

#include <fcntl.h>
#include <grp.h>
#include <sys/mman.h>
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

#include "fs/unique_fd.h"
#include "support/fake_home.h"

namespace tw::test {
namespace {

void require(bool ok, const std::string& what) {
  if (!ok) throw std::runtime_error(what + ": " + std::strerror(errno));
}

bool run(const std::vector<std::string>& command, std::string& failure) {
  const auto result = runProcess(command);
  if (result.code != 0) failure = command[0] + " failed (" + std::to_string(result.code) + "): " + result.err;
  return result.code == 0;
}

}  // namespace

ScratchVolume::ScratchVolume(const std::string& type, const std::string& mountPoint)
    : folder_(makeTempFolder("tw-volume")), mountPoint_(mountPoint.empty() ? folder_ + "/mnt" : mountPoint) {
  makeFolders(mountPoint_);
  if (::geteuid() != 0) {
    reason_ = "mounting a scratch volume needs root";
    return;
  }
  if (type == "tmpfs") {
    ready_ = run({"mount", "-t", "tmpfs", "-o", "size=64m", "tmpfs", mountPoint_}, reason_);
    return;
  }
  const std::string image = folder_ + "/volume.img";
  ready_ = run({"truncate", "-s", "320M", image}, reason_) &&
           run({"mkfs.xfs", "-q", "-m", "reflink=1", image}, reason_) &&
           run({"mount", "-o", "loop", image, mountPoint_}, reason_);
}

ScratchVolume::~ScratchVolume() {
  std::string ignored;
  if (ready_ && !run({"umount", mountPoint_}, ignored)) (void)run({"umount", "-l", mountPoint_}, ignored);
  removeTree(folder_);
}

void makeVariedTree(const std::string& root, unsigned seed) {
  std::mt19937 random(seed);
  const auto pick = [&](int low, int high) { return std::uniform_int_distribution<int>(low, high)(random); };
  const auto any = [&](const std::vector<std::string>& from) {
    return from[static_cast<std::size_t>(pick(0, static_cast<int>(from.size()) - 1))];
  };
  std::vector<std::string> folders{root};
  makeFolders(root);
  for (int i = 0; i < 24; ++i) {
    folders.push_back(any(folders) + "/d" + std::to_string(i));
    makeFolders(folders.back());
  }
  std::vector<std::string> files;
  for (int i = 0; i < 120; ++i) {
    const std::string file = any(folders) + "/f" + std::to_string(i);
    const int kind = pick(0, 9);
    if (kind < 6) {
      writeFilledFile(file, pick(0, 70'000));
    } else if (kind < 8) {
      writeFilledFile(file, pick(1'048'576, 3'000'000));
    } else {
      // Sparse: a large length with only a little data written.
      writeFile(file, "sparse");
      require(::truncate(file.c_str(), pick(1, 50) * kMiB) == 0, "truncate " + file);
    }
    files.push_back(file);
  }
  for (int i = 0; i < 10; ++i) {
    const std::string target = any(files), link = any(folders) + "/h" + std::to_string(i);
    if (::link(target.c_str(), link.c_str()) != 0 && errno != EEXIST) require(false, "link " + link);
  }
  for (int i = 0; i < 6; ++i) {
    const std::string target = i % 2 == 0 ? "/usr" : files[static_cast<std::size_t>(i)];
    require(::symlink(target.c_str(), (any(folders) + "/s" + std::to_string(i)).c_str()) == 0, "symlink");
  }
  makeFolders(root + "/empty/inside");
}

FindTotals findTotals(const std::string& root) {
  const auto found = runProcess({"find", root, "-mindepth", "1", "-printf", "%y %i %b\n"});
  if (found.code != 0) throw std::runtime_error("find failed: " + found.err);
  FindTotals totals;
  std::istringstream lines(found.out);
  std::set<std::uint64_t> seen;
  std::string type;
  std::uint64_t inode = 0;
  std::int64_t blocks = 0;
  while (lines >> type >> inode >> blocks) {
    ++totals.entries;
    (type == "d" ? totals.folderBytes : totals.everyName) += blocks * 512;
    if (type != "d" && seen.insert(inode).second) totals.eachInodeOnce += blocks * 512;
  }
  return totals;
}

std::set<std::string> childNames(const FSNode& node) {
  std::set<std::string> names;
  for (const auto& child : node.children) names.insert(child->name);
  return names;
}

std::int64_t blocksOf(const std::string& path) {
  struct stat info {};
  require(::lstat(path.c_str(), &info) == 0, "lstat " + path);
  return static_cast<std::int64_t>(info.st_blocks) * 512;
}

void makeDeepChain(const std::string& root, int depth, const std::string& name, std::int64_t fileBytes) {
  makeFolders(root);
  UniqueFd folder(::open(root.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  for (int level = 0; level < depth && folder; ++level) {
    require(::mkdirat(folder.get(), name.c_str(), 0755) == 0, "mkdirat");
    folder = UniqueFd(::openat(folder.get(), name.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  }
  require(static_cast<bool>(folder), "open a folder of the chain");
  const UniqueFd file(::openat(folder.get(), "bottom", O_WRONLY | O_CREAT | O_CLOEXEC, 0644));
  const std::string bytes(static_cast<std::size_t>(fileBytes), 'b');
  require(file && ::write(file.get(), bytes.data(), bytes.size()) == static_cast<ssize_t>(bytes.size()), "bottom");
}

std::int64_t withPermissionsApplied(const std::function<std::int64_t()>& work) {
  if (::geteuid() != 0) return work();
  void* shared = ::mmap(nullptr, sizeof(std::int64_t), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
  require(shared != MAP_FAILED, "mmap");
  auto* result = static_cast<std::int64_t*>(shared);
  const pid_t child = ::fork();
  if (child == 0) {
    constexpr uid_t kNobody = 65534;
    if (::setgroups(0, nullptr) != 0 || ::setgid(kNobody) != 0 || ::setuid(kNobody) != 0) ::_exit(1);
    *result = work();
    ::_exit(0);
  }
  int status = 0;
  while (child > 0 && ::waitpid(child, &status, 0) < 0 && errno == EINTR) {
  }
  const std::int64_t value = *result;
  ::munmap(shared, sizeof(std::int64_t));
  if (child < 0 || !WIFEXITED(status) || WEXITSTATUS(status) != 0)
    throw std::runtime_error("unprivileged child failed");
  return value;
}

}  // namespace tw::test
