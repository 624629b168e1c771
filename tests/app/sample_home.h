#pragma once

#include <QString>

#include "core/context.h"

namespace tw::app {

// The context of a window over a temporary home, in sample-data mode: every screen shows
// its demonstration data and nothing touches the disk but the home's own stores.
inline Context sampleContext(const QString& home) {
  const std::string root = home.toStdString();
  return Context::fromEnvironment({{"HOME", root},
                                   {"XDG_DATA_HOME", root + "/.local/share"},
                                   {"XDG_CONFIG_HOME", root + "/.config"},
                                   {"XDG_CACHE_HOME", root + "/.cache"},
                                   {"TIDEWARDEN_SNAPSHOT", "1"}});
}

}  // namespace tw::app
