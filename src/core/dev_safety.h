#pragma once

#include <string>

namespace tw {

// The guard that every direct deletion passes.
struct DevSafety {
  // True only for paths at least two levels below the home folder or a project root,
  // never a repository root, judged on what the path really names.
  [[nodiscard]] static bool canRemove(const std::string& path);
};

}  // namespace tw
