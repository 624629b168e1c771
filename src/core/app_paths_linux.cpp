#include <cstdlib>
#include <string>

#include "core/app_paths.h"
#include "core/home.h"

namespace tw {
namespace {

std::string xdgFolder(const char* variable, const char* fallbackUnderHome) {
  // The XDG rules ignore relative values.
  if (const char* value = std::getenv(variable); value != nullptr && value[0] == '/') {
    return value;
  }
  return homeDirectory() + fallbackUnderHome;
}

}  // namespace

std::string applicationSupportFolder() { return xdgFolder("XDG_DATA_HOME", "/.local/share") + "/Tidewarden"; }

std::string settingsFilePath() { return xdgFolder("XDG_CONFIG_HOME", "/.config") + "/Tidewarden/settings.json"; }

}  // namespace tw
