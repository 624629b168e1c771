#include <sys/stat.h>
#include <unistd.h>

#include "dedupe/file_state.h"
#include "fs/stat_times.h"

namespace tw {
namespace {

FileState stateOf(const struct stat& info) {
  FileState state;
  state.dev = info.st_dev;
  state.ino = info.st_ino;
  state.links = info.st_nlink;
  state.size = info.st_size;
  state.mode = info.st_mode;
  state.owner = info.st_uid;
  state.modifiedNs = modifiedNanoseconds(info);
  state.changedNs = changedNanoseconds(info);
  return state;
}

}  // namespace

bool FileState::isRegular() const { return S_ISREG(mode); }

std::optional<FileState> linkState(const std::string& path) {
  struct stat info {};
  if (::lstat(path.c_str(), &info) != 0) return std::nullopt;
  return stateOf(info);
}

std::optional<FileState> openFileState(int fd) {
  struct stat info {};
  if (::fstat(fd, &info) != 0) return std::nullopt;
  return stateOf(info);
}

std::uint32_t effectiveUser() { return ::geteuid(); }

}  // namespace tw
