#pragma once

#include "core/dev_group.h"

namespace tw {

struct GitRepos {
  static ProviderResult load();
};

}  // namespace tw
