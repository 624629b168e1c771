#pragma once

#include "core/dev_group.h"

namespace tw {

struct Dedupe {
  static ProviderResult load();
};

}  // namespace tw
