#include <string>

#include "core/app_paths.h"
#include "core/home.h"

namespace tw {

std::string applicationSupportFolder() { return homeDirectory() + "/Library/Application Support/Tidewarden"; }

std::string settingsFilePath() { return homeDirectory() + "/Library/Preferences/Tidewarden.settings.json"; }

}  // namespace tw
