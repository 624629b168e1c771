#pragma once

#include "core/dev_group.h"

namespace tw {

struct Worktrees {
  static ProviderResult load();
};

}  // namespace tw
