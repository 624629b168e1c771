#include <dirent.h>
#include <limits.h>
#include <unistd.h>

#include <cstdlib>
#include <memory>

#include "screens/paths_in_use.h"

namespace tw {
namespace {

struct DirCloser {
  void operator()(DIR* dir) const { ::closedir(dir); }
};
using DirHandle = std::unique_ptr<DIR, DirCloser>;

bool isProcessID(const char* name) {
  char* end = nullptr;
  return std::strtol(name, &end, 10) > 0 && *end == '\0';
}

// The target of one of /proc's magic links; sockets, pipes and deleted files are no path.
void addLinkTarget(int folder, const char* name, std::vector<std::string>& paths) {
  char target[PATH_MAX];
  const ssize_t length = ::readlinkat(folder, name, target, sizeof target);
  if (length <= 0 || target[0] != '/' || static_cast<std::size_t>(length) >= sizeof target) return;
  std::string path(target, static_cast<std::size_t>(length));
  if (path.ends_with(" (deleted)")) return;
  paths.push_back(std::move(path));
}

void addProcess(const std::string& process, std::vector<std::string>& paths) {
  DirHandle self(::opendir(process.c_str()));
  if (!self) return;  // gone meanwhile
  addLinkTarget(::dirfd(self.get()), "exe", paths);
  addLinkTarget(::dirfd(self.get()), "cwd", paths);
  DirHandle fds(::opendir((process + "/fd").c_str()));
  if (!fds) return;  // another user's process
  while (const dirent* entry = ::readdir(fds.get())) {
    if (entry->d_name[0] != '.') addLinkTarget(::dirfd(fds.get()), entry->d_name, paths);
  }
}

}  // namespace

std::vector<std::string> runningProcessPaths() {
  std::vector<std::string> paths;
  DirHandle proc(::opendir("/proc"));
  if (!proc) return paths;
  const std::string self = std::to_string(::getpid());
  while (const dirent* entry = ::readdir(proc.get())) {
    if (isProcessID(entry->d_name) && entry->d_name != self) addProcess(std::string("/proc/") + entry->d_name, paths);
  }
  return paths;
}

}  // namespace tw
