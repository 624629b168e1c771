#include "core/app_paths.h"

namespace tw {

std::string applicationSupportFolder(const Context& context) {
  return context.home + "/Library/Application Support/Tidewarden";
}

std::string settingsFilePath(const Context& context) {
  return context.home + "/Library/Preferences/Tidewarden.settings.json";
}

}  // namespace tw
