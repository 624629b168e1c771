#pragma once

#include <cstdint>

namespace tw {

// Hashing reads every byte of large files once. That should leave memory as it found
// it: what the user is working with stays cached, and what we bring in goes again.

// Whether some of the file is in memory already (someone is using it); false when the
// system cannot tell.
[[nodiscard]] bool partlyInMemory(int fd);

// The next read takes only the bytes asked for, nothing ahead of them.
void readOnlyWhatIsAsked(int fd);

// Lives from before the first read of a whole-file pass until after the last.
class UncachedRead {
 public:
  UncachedRead(int fd, std::int64_t length, bool wasInMemory);
  ~UncachedRead();
  UncachedRead(const UncachedRead&) = delete;
  UncachedRead& operator=(const UncachedRead&) = delete;

 private:
  int fd_;
  std::int64_t length_;
  bool wasInMemory_;
};

}  // namespace tw
