#pragma once

#include <QString>

#include "core/context.h"

namespace tw::app {

// The context of a window over a temporary home: its folders and stores are the home's own,
// and `extra` adds to the environment. Nothing reaches the real home folder.
inline Context homeContext(const QString& home, Environment extra = {}) {
  const std::string root = home.toStdString();
  Environment environment{{"HOME", root},
                          {"XDG_DATA_HOME", root + "/.local/share"},
                          {"XDG_CONFIG_HOME", root + "/.config"},
                          {"XDG_CACHE_HOME", root + "/.cache"}};
  environment.merge(extra);
  return Context::fromEnvironment(environment);
}

// The same in sample-data mode: every screen shows its demonstration data.
inline Context sampleContext(const QString& home) { return homeContext(home, {{"TIDEWARDEN_SNAPSHOT", "1"}}); }

}  // namespace tw::app
