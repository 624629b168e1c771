#include <stdio.h>

#include <cerrno>

#include "core/shell.h"
#include "fs/file_io.h"
#include "trash/move_item.h"

namespace tw {

std::error_code moveWithoutReplacing(const std::string& from, const std::string& to, const Context& context) {
  if (::renamex_np(from.c_str(), to.c_str(), RENAME_EXCL) == 0) return {};
  if (errno != EXDEV) return {errno, std::generic_category()};
  const auto result = Shell::run("/bin/mv", {"-n", from, to}, 3600, context);
  if (!pathExists(from) && pathExists(to)) return {};
  if (result.code == 0 && pathExists(from)) return std::make_error_code(std::errc::file_exists);
  return std::make_error_code(std::errc::io_error);
}

}  // namespace tw
