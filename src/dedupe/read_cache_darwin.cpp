#include <fcntl.h>

#include "dedupe/read_cache.h"

namespace tw {

UncachedRead::UncachedRead(int fd, std::int64_t length) : fd_(fd), length_(length) { (void)::fcntl(fd_, F_NOCACHE, 1); }

UncachedRead::~UncachedRead() = default;

}  // namespace tw
