#include <fcntl.h>
#include <limits.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <string_view>

#include "fs/bulk_list.h"
#include "fs/unique_fd.h"
#include "screens/paths_in_use.h"

namespace tw {
namespace {

constexpr int kFolderFlags = O_RDONLY | O_DIRECTORY | O_CLOEXEC | O_NOCTTY;

bool isProcessID(std::string_view name) {
  return !name.empty() && name.front() != '0' &&
         std::all_of(name.begin(), name.end(), [](char c) { return c >= '0' && c <= '9'; });
}

// The target of one of /proc's magic links; sockets, pipes and deleted files are no path.
// False, with errno set, when the link could not be read.
bool addLinkTarget(int folder, const char* name, std::vector<std::string>& paths) {
  char target[PATH_MAX];
  const ssize_t length = ::readlinkat(folder, name, target, sizeof target);
  if (length < 0) return false;
  if (length == 0 || target[0] != '/' || static_cast<std::size_t>(length) >= sizeof target) return true;
  std::string path(target, static_cast<std::size_t>(length));
  if (!path.ends_with(" (deleted)")) paths.push_back(std::move(path));
  return true;
}

void addProcess(int procFd, const char* process, std::vector<std::string>& paths) {
  const UniqueFd self{::openat(procFd, process, kFolderFlags)};
  if (!self) return;  // gone meanwhile
  if (!addLinkTarget(self.get(), "exe", paths)) {
    // A kernel thread runs no program and holds no files; another user's process lets us
    // read none of its links.
    if (errno == ENOENT || errno == EACCES || errno == EPERM) return;
  }
  addLinkTarget(self.get(), "cwd", paths);
  const UniqueFd fds{::openat(self.get(), "fd", kFolderFlags)};
  if (!fds) return;
  (void)readFolderNames(fds.get(),
                        [&](const NamedEntry& entry) { addLinkTarget(fds.get(), entry.name.data(), paths); });
}

}  // namespace

std::vector<std::string> runningProcessPaths() {
  std::vector<std::string> paths;
  const UniqueFd proc{::open("/proc", kFolderFlags)};
  if (!proc) return paths;
  const std::string self = std::to_string(::getpid());
  (void)readFolderNames(proc.get(), [&](const NamedEntry& entry) {
    if (isProcessID(entry.name) && entry.name != self) addProcess(proc.get(), entry.name.data(), paths);
  });
  return paths;
}

}  // namespace tw
