#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>

#include "dedupe/open_files.h"
#include "fs/unique_fd.h"

namespace tw {
namespace {

struct DirCloser {
  void operator()(DIR* dir) const { ::closedir(dir); }
};
using DirHandle = std::unique_ptr<DIR, DirCloser>;

// A process ID when the name is one, otherwise 0.
long processID(const char* name) {
  char* end = nullptr;
  const long pid = std::strtol(name, &end, 10);
  return end != name && *end == '\0' ? pid : 0;
}

void addOpenFilesOf(long pid, std::unordered_set<FileIdentity>& files) {
  const std::string fdFolder = "/proc/" + std::to_string(pid) + "/fd";
  DirHandle dir(::opendir(fdFolder.c_str()));
  if (!dir) return;  // gone, or not ours to inspect
  while (const dirent* entry = ::readdir(dir.get())) {
    if (entry->d_name[0] == '.') continue;
    // stat follows the descriptor's magic link to the open file itself.
    struct stat info {};
    if (::fstatat(::dirfd(dir.get()), entry->d_name, &info, 0) != 0) continue;
    if (!S_ISREG(info.st_mode)) continue;
    files.insert({static_cast<std::uint64_t>(info.st_dev), static_cast<std::uint64_t>(info.st_ino), S_IFREG});
  }
}

}  // namespace

std::set<long> OpenFiles::processes() {
  std::set<long> running;
  DirHandle proc(::opendir("/proc"));
  if (!proc) return running;
  const long self = ::getpid();
  while (const dirent* entry = ::readdir(proc.get())) {
    const long pid = processID(entry->d_name);
    if (pid > 0 && pid != self) running.insert(pid);
  }
  return running;
}

std::optional<long> OpenFiles::lastStarted() {
  // The last of /proc/loadavg's five fields: "0.52 0.58 0.59 2/391 12345".
  const UniqueFd fd{::open("/proc/loadavg", O_RDONLY | O_CLOEXEC | O_NONBLOCK)};
  if (!fd) return std::nullopt;
  char text[128]{};
  const ssize_t got = ::read(fd.get(), text, sizeof text - 1);
  if (got <= 0) return std::nullopt;
  const char* last = std::strrchr(text, ' ');
  if (!last) return std::nullopt;
  char* end = nullptr;
  const long pid = std::strtol(last + 1, &end, 10);
  return end != last + 1 && (*end == '\n' || *end == '\0') ? std::optional(pid) : std::nullopt;
}

std::unordered_set<FileIdentity> OpenFiles::heldBy(const std::set<long>& processes) {
  std::unordered_set<FileIdentity> files;
  for (const long pid : processes) addOpenFilesOf(pid, files);
  return files;
}

}  // namespace tw
