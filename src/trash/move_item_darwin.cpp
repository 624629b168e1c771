#include <stdio.h>
#include <sys/stat.h>

#include <cerrno>

#include "core/shell.h"
#include "trash/move_item.h"

namespace tw {
namespace {

bool present(const std::string& path) {
  struct stat info {};
  return ::lstat(path.c_str(), &info) == 0;
}

}  // namespace

std::error_code moveWithoutReplacing(const std::string& from, const std::string& to) {
  if (::renamex_np(from.c_str(), to.c_str(), RENAME_EXCL) == 0) return {};
  if (errno != EXDEV) return {errno, std::generic_category()};
  const auto result = Shell::run("/bin/mv", {"-n", from, to}, 3600);
  if (!present(from) && present(to)) return {};
  if (result.code == 0 && present(from)) return std::make_error_code(std::errc::file_exists);
  return std::make_error_code(std::errc::io_error);
}

}  // namespace tw
