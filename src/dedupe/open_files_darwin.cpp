#include <libproc.h>
#include <sys/proc_info.h>
#include <sys/stat.h>
#include <unistd.h>

#include <vector>

#include "dedupe/open_files.h"

namespace tw {
namespace {

void addOpenFilesOf(pid_t pid, std::unordered_set<FileIdentity>& files) {
  const int needed = ::proc_pidinfo(pid, PROC_PIDLISTFDS, 0, nullptr, 0);
  if (needed <= 0) return;
  std::vector<proc_fdinfo> fds(static_cast<std::size_t>(needed) / sizeof(proc_fdinfo) + 16);
  const int got =
      ::proc_pidinfo(pid, PROC_PIDLISTFDS, 0, fds.data(), static_cast<int>(fds.size() * sizeof(proc_fdinfo)));
  if (got <= 0) return;
  fds.resize(static_cast<std::size_t>(got) / sizeof(proc_fdinfo));
  for (const auto& fd : fds) {
    if (fd.proc_fdtype != PROX_FDTYPE_VNODE) continue;
    vnode_fdinfowithpath info{};
    const int size = ::proc_pidfdinfo(pid, fd.proc_fd, PROC_PIDFDVNODEPATHINFO, &info, sizeof info);
    if (size != static_cast<int>(sizeof info)) continue;
    const auto& stat = info.pvip.vip_vi.vi_stat;
    files.insert(
        {static_cast<std::uint64_t>(stat.vst_dev), stat.vst_ino, static_cast<std::uint32_t>(stat.vst_mode & S_IFMT)});
  }
}

}  // namespace

std::set<long> OpenFiles::processes() {
  std::set<long> running;
  const int count = ::proc_listallpids(nullptr, 0);
  if (count < 1) return running;
  std::vector<pid_t> pids(static_cast<std::size_t>(count) + 64);
  const int listed = ::proc_listallpids(pids.data(), static_cast<int>(pids.size() * sizeof(pid_t)));
  if (listed < 1) return running;
  pids.resize(static_cast<std::size_t>(listed));
  const pid_t self = ::getpid();
  for (const pid_t pid : pids) {
    if (pid > 0 && pid != self) running.insert(pid);
  }
  return running;
}

// The system does not say which process it started last; the processes are listed instead.
std::optional<long> OpenFiles::lastStarted() { return std::nullopt; }

std::unordered_set<FileIdentity> OpenFiles::heldBy(const std::set<long>& processes) {
  std::unordered_set<FileIdentity> files;
  for (const long pid : processes) addOpenFilesOf(static_cast<pid_t>(pid), files);
  return files;
}

}  // namespace tw
