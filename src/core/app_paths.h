#pragma once

#include <string>

namespace tw {

// Per-user folder where history and snapshots live (created on demand by callers).
// Linux: $XDG_DATA_HOME/Tidewarden, else ~/.local/share/Tidewarden.
[[nodiscard]] std::string applicationSupportFolder();

// The settings file. Linux: $XDG_CONFIG_HOME/Tidewarden/settings.json, else ~/.config/...
[[nodiscard]] std::string settingsFilePath();

}  // namespace tw
