#pragma once

#include <functional>
#include <map>
#include <string>
#include <string_view>

namespace tw {

// Gives paths with their links resolved, remembering every folder it has resolved: the
// items of a screen share a few parent folders, so each folder costs one lstat instead of
// a full resolution per path. Not for use from several threads at once.
class ResolvedFolders {
 public:
  // The absolute `path` with every link resolved; a missing last part is kept as it is.
  [[nodiscard]] std::string resolve(const std::string& path);
  // The same for a folder its parent's listing named as a folder: that is no link (a
  // listing reports links as files), so only the parent is resolved.
  [[nodiscard]] std::string resolveListedFolder(const std::string& folder);

 private:
  // `path` is absolute and made of plain names only.
  std::string resolvePlain(std::string_view path);

  std::map<std::string, std::string, std::less<>> known_;
};

}  // namespace tw
