#include <dirent.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <memory>
#include <string>

#include "dedupe/open_files.h"

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

std::unordered_set<FileIdentity> OpenFiles::heldBy(const std::set<long>& processes) {
  std::unordered_set<FileIdentity> files;
  for (const long pid : processes) addOpenFilesOf(pid, files);
  return files;
}

}  // namespace tw
