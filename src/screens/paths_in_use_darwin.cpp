#include <libproc.h>
#include <sys/proc_info.h>
#include <unistd.h>

#include <vector>

#include "screens/paths_in_use.h"

namespace tw {
namespace {

void addOpenFiles(pid_t pid, std::vector<std::string>& paths) {
  const int bytes = ::proc_pidinfo(pid, PROC_PIDLISTFDS, 0, nullptr, 0);
  if (bytes <= 0) return;
  std::vector<proc_fdinfo> fds(static_cast<std::size_t>(bytes) / sizeof(proc_fdinfo));
  const int filled = ::proc_pidinfo(pid, PROC_PIDLISTFDS, 0, fds.data(), bytes);
  if (filled <= 0) return;
  fds.resize(static_cast<std::size_t>(filled) / sizeof(proc_fdinfo));
  for (const auto& fd : fds) {
    if (fd.proc_fdtype != PROX_FDTYPE_VNODE) continue;
    vnode_fdinfowithpath info{};
    if (::proc_pidfdinfo(pid, fd.proc_fd, PROC_PIDFDVNODEPATHINFO, &info, sizeof info) == sizeof info) {
      paths.emplace_back(info.pvip.vip_path);
    }
  }
}

}  // namespace

std::vector<std::string> runningProcessPaths() {
  std::vector<std::string> paths;
  const int bytes = ::proc_listpids(PROC_ALL_PIDS, 0, nullptr, 0);
  if (bytes <= 0) return paths;
  std::vector<pid_t> pids(static_cast<std::size_t>(bytes) / sizeof(pid_t));
  const int filled = ::proc_listpids(PROC_ALL_PIDS, 0, pids.data(), bytes);
  if (filled <= 0) return paths;
  pids.resize(static_cast<std::size_t>(filled) / sizeof(pid_t));
  for (const pid_t pid : pids) {
    if (pid <= 0 || pid == ::getpid()) continue;
    char program[PROC_PIDPATHINFO_MAXSIZE];
    if (::proc_pidpath(pid, program, sizeof program) > 0) paths.emplace_back(program);
    proc_vnodepathinfo folders{};
    if (::proc_pidinfo(pid, PROC_PIDVNODEPATHINFO, 0, &folders, sizeof folders) == sizeof folders) {
      paths.emplace_back(folders.pvi_cdir.vip_path);
    }
    addOpenFiles(pid, paths);
  }
  return paths;
}

}  // namespace tw
