#pragma once

#include <string>

#include <QIcon>

namespace tw::app {

// The icon for one of the design's symbol names: the desktop theme's icon of the matching
// freedesktop name, else the bundled drawing, so no row is ever drawn without an icon.
[[nodiscard]] QIcon symbolIcon(const std::string& symbolName);

}  // namespace tw::app
