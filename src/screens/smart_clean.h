#pragma once

#include "core/dev_group.h"

namespace tw {

// The Smart Clean screen: the junk catalogue, scanned and measured as `clean` does, one
// group per category with its paths as items.
struct SmartClean {
  static constexpr const char* nothingFoundNote =
      "Nothing to clean: no caches, logs, package caches, Trash or installers were found.";

  [[nodiscard]] static ProviderResult load(const Context& context);
};

}  // namespace tw
