#include "core/xdg_folders.h"

#include <cstdlib>

#include "core/home.h"
#include "core/path.h"

namespace tw {

std::string xdgFolder(const char* variable, std::string_view fallbackUnderHome) {
  if (const char* value = std::getenv(variable); value != nullptr && value[0] == '/') return standardizePath(value);
  return homeDirectory() + std::string(fallbackUnderHome);
}

}  // namespace tw
