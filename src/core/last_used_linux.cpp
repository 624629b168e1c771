#include <fcntl.h>
#include <sys/stat.h>
#include <sys/statvfs.h>

#include <algorithm>

#include "core/measure.h"
#include "fs/unique_fd.h"

namespace tw {

std::optional<Date> lastUsed(const std::string& path) {
  // Linux keeps no last-used date of its own; the access time is the nearest thing (with
  // relatime it moves at most daily, which is fine for "unused for weeks"). A volume
  // mounted noatime never moves it, so there it says nothing about use.
  // (Opened without following a link: reading a link moves its own access time.)
  const UniqueFd item{::open(path.c_str(), O_PATH | O_NOFOLLOW | O_CLOEXEC)};
  if (!item) return std::nullopt;
  struct statvfs volume {};
  if (::fstatvfs(item.get(), &volume) == 0 && (volume.f_flag & ST_NOATIME) != 0) return std::nullopt;
  struct statx info {};
  if (::statx(item.get(), "", AT_EMPTY_PATH, STATX_ATIME, &info) != 0) return std::nullopt;
  if ((info.stx_mask & STATX_ATIME) == 0) return std::nullopt;
  const auto sinceEpoch =
      std::chrono::seconds{info.stx_atime.tv_sec} + std::chrono::nanoseconds{info.stx_atime.tv_nsec};
  const Date accessed{std::chrono::duration_cast<Date::duration>(sinceEpoch)};
  return std::min(accessed, std::chrono::system_clock::now());
}

}  // namespace tw
