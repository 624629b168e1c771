#include "core/file_manager.h"

namespace tw {

std::error_code trashWithFileManager(const std::string&, const Context&) {
  return std::make_error_code(std::errc::operation_not_supported);
}

}  // namespace tw
