#include "fs/stat_times.h"

namespace tw {
namespace {

std::int64_t nanoseconds(const timespec& time) {
  return static_cast<std::int64_t>(time.tv_sec) * 1'000'000'000 + time.tv_nsec;
}

}  // namespace

std::int64_t modifiedNanoseconds(const struct stat& info) { return nanoseconds(info.st_mtimespec); }
std::int64_t changedNanoseconds(const struct stat& info) { return nanoseconds(info.st_ctimespec); }

}  // namespace tw
