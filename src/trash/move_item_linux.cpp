#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstdio>

#include "core/shell.h"
#include "fs/file_io.h"
#include "trash/move_item.h"

namespace tw {
namespace {

// mv copies across file systems keeping modes, times and links; -T keeps it from moving
// into `to` should a folder appear there meanwhile.
std::error_code moveAcrossFileSystems(const std::string& from, const std::string& to, const Context& context) {
  const auto result = Shell::run("/bin/mv", {"-n", "-T", "--", from, to}, 3600, context);
  if (!pathExists(from) && pathExists(to)) return {};
  if (result.code == 0 && pathExists(from)) return std::make_error_code(std::errc::file_exists);
  return std::make_error_code(std::errc::io_error);
}

}  // namespace

std::error_code moveWithoutReplacing(const std::string& from, const std::string& to, const Context& context) {
  if (::renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0) return {};
  int error = errno;
  if (error == EINVAL || error == ENOSYS) {
    // File systems without the no-replace flag: check, then rename.
    if (pathExists(to)) return std::make_error_code(std::errc::file_exists);
    if (::rename(from.c_str(), to.c_str()) == 0) return {};
    error = errno;
  }
  if (error == EXDEV) return moveAcrossFileSystems(from, to, context);
  return {error, std::generic_category()};
}

}  // namespace tw
