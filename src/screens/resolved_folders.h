#pragma once

#include <map>
#include <string>

namespace tw {

// Gives paths with their links resolved, remembering every folder it has resolved: the
// items of a screen share a few parent folders, so each folder costs one lstat instead of
// a full resolution per path. Not for use from several threads at once.
class ResolvedFolders {
 public:
  // The absolute `path` with every link resolved; a missing last part is kept as it is.
  [[nodiscard]] std::string resolve(const std::string& path);

 private:
  std::map<std::string, std::string> known_;
};

}  // namespace tw
