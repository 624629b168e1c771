#include <fcntl.h>

#include "dedupe/read_cache.h"

namespace tw {

// F_NOCACHE reads what is cached from the cache and adds nothing to it, so there is
// nothing to look at beforehand or to drop afterwards.
bool partlyInMemory(int) { return false; }

void readOnlyWhatIsAsked(int fd) { (void)::fcntl(fd, F_RDAHEAD, 0); }

UncachedRead::UncachedRead(int fd, std::int64_t length, bool wasInMemory)
    : fd_(fd), length_(length), wasInMemory_(wasInMemory) {
  (void)::fcntl(fd_, F_NOCACHE, 1);
}

UncachedRead::~UncachedRead() = default;

}  // namespace tw
