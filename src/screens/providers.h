#pragma once

#include <map>
#include <string>

#include "core/dev_group.h"

namespace tw {

// Providers of screens whose scanners this build does not have yet: each returns no
// groups and the unavailable-screen note.
struct SmartCleanScreen {
  static ProviderResult load();
};
struct LargeFiles {
  static ProviderResult load();
};
struct Uninstaller {
  static ProviderResult load();
};
struct SystemData {
  static ProviderResult load();
};
struct DockerDeep {
  static ProviderResult load();
};
struct AIModels {
  static ProviderResult scan(const std::string& home, const std::map<std::string, std::string>& env);
};

}  // namespace tw
