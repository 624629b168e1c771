#pragma once

#include <string>

#include "core/context.h"

namespace tw {

// Per-user folder where history and snapshots live (created on demand by callers).
// Linux: $XDG_DATA_HOME/Tidewarden, else ~/.local/share/Tidewarden.
[[nodiscard]] std::string applicationSupportFolder(const Context& context);

// The settings file. Linux: $XDG_CONFIG_HOME/Tidewarden/settings.json, else ~/.config/...
[[nodiscard]] std::string settingsFilePath(const Context& context);

}  // namespace tw
