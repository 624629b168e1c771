#pragma once

#include "core/dev_group.h"

namespace tw {

struct Projects {
  static ProviderResult load();
};

}  // namespace tw
