#include <fcntl.h>

#include "dedupe/read_cache.h"

namespace tw {

UncachedRead::UncachedRead(int fd, std::int64_t length) : fd_(fd), length_(length) {
  (void)::posix_fadvise(fd_, 0, length_, POSIX_FADV_SEQUENTIAL);
}

// Linux has no per-descriptor switch for this; the pages we read are dropped afterwards
// instead (clean pages only, so nothing unwritten is lost).
UncachedRead::~UncachedRead() { (void)::posix_fadvise(fd_, 0, length_, POSIX_FADV_DONTNEED); }

}  // namespace tw
