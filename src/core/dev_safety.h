#pragma once

#include <string>

#include "core/context.h"

namespace tw {

// The guard that every direct deletion passes.
struct DevSafety {
  // True only for paths at least two levels below the home folder or a project root,
  // never a repository root, judged on what the path really names.
  [[nodiscard]] static bool canRemove(const std::string& path, const Context& context);

  // The disk scanner's guard, judged on the path as written: two or more pieces below
  // `home` and no "." or ".." piece, so never the home folder itself nor anything
  // directly inside it. A home of "/" allows nothing.
  [[nodiscard]] static bool deepInsideHome(const std::string& path, const std::string& home);
};

}  // namespace tw
