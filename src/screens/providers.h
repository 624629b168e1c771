#pragma once

#include "core/dev_group.h"

namespace tw {

// Providers of screens whose scanners this build does not have yet: each returns no
// groups and the unavailable-screen note.
struct SmartCleanScreen {
  static ProviderResult load();
};

}  // namespace tw
