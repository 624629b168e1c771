#include <fcntl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cstdint>

#include "dedupe/read_cache.h"

// Linux 6.5 added cachestat; this C library predates it. The number is the same on every
// architecture that uses the shared system-call table.
#ifndef SYS_cachestat
#define SYS_cachestat 451
#endif

namespace tw {
namespace {

struct CachestatRange {
  std::uint64_t offset;
  std::uint64_t length;  // 0: to the end of the file
};

struct Cachestat {
  std::uint64_t cached;
  std::uint64_t dirty;
  std::uint64_t writeback;
  std::uint64_t evicted;
  std::uint64_t recentlyEvicted;
};

}  // namespace

bool partlyInMemory(int fd) {
  CachestatRange range{0, 0};
  Cachestat stat{};
  return ::syscall(SYS_cachestat, fd, &range, &stat, 0) == 0 && stat.cached > 0;
}

void readOnlyWhatIsAsked(int fd) { (void)::posix_fadvise(fd, 0, 0, POSIX_FADV_RANDOM); }

// Linux has no per-descriptor switch that keeps reads out of the page cache; the pages
// are dropped afterwards instead (clean pages only, so nothing unwritten is lost).
UncachedRead::UncachedRead(int fd, std::int64_t length, bool wasInMemory)
    : fd_(fd), length_(length), wasInMemory_(wasInMemory) {
  (void)::posix_fadvise(fd_, 0, length_, POSIX_FADV_SEQUENTIAL);
}

UncachedRead::~UncachedRead() {
  if (!wasInMemory_) (void)::posix_fadvise(fd_, 0, length_, POSIX_FADV_DONTNEED);
}

}  // namespace tw
