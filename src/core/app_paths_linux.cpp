#include <string>

#include "core/app_paths.h"
#include "core/xdg_folders.h"

namespace tw {

std::string applicationSupportFolder() { return xdgFolder("XDG_DATA_HOME", "/.local/share") + "/Tidewarden"; }

std::string settingsFilePath() { return xdgFolder("XDG_CONFIG_HOME", "/.config") + "/Tidewarden/settings.json"; }

}  // namespace tw
