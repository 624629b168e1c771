#pragma once

#include <cstdint>

namespace tw {

// Hashing reads every byte of large files once; that data should not push what the user
// is working with out of memory. Create one before the first read of a descriptor and
// let it go after the last.
class UncachedRead {
 public:
  UncachedRead(int fd, std::int64_t length);
  ~UncachedRead();
  UncachedRead(const UncachedRead&) = delete;
  UncachedRead& operator=(const UncachedRead&) = delete;

 private:
  int fd_;
  std::int64_t length_;
};

}  // namespace tw
