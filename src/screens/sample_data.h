#pragma once

#include "core/dev_group.h"
#include "screens/registry.h"

namespace tw {

// Fixed demonstration groups for screenshots and demos. They touch no disk: item
// actions do nothing and paths are only shown.
struct SampleData {
  [[nodiscard]] static Provider provider(Pane pane);
};

}  // namespace tw
