#include "fs/file_lock.h"

#include <fcntl.h>
#include <sys/file.h>

#include <cerrno>

namespace tw {

ExclusiveFileLock::ExclusiveFileLock(const std::string& lockPath)
    : fd_(::open(lockPath.c_str(), O_RDWR | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC | O_NOCTTY, 0600)) {
  if (!fd_) return;
  int result = 0;
  do {
    result = ::flock(fd_.get(), LOCK_EX);
  } while (result != 0 && errno == EINTR);
  held_ = result == 0;
}

}  // namespace tw
