#include "core/app_paths.h"

namespace tw {

std::string applicationSupportFolder(const Context& context) { return context.dataHome + "/Tidewarden"; }

std::string settingsFilePath(const Context& context) { return context.configHome + "/Tidewarden/settings.json"; }

}  // namespace tw
