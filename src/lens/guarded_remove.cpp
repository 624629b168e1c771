#include <string_view>

#include "core/home.h"
#include "lens/disk_scanner.h"
#include "lens/safe_remove.h"

namespace tw {
namespace {

// Two or more pieces below the home folder and no way back up: never the home folder itself
// nor anything directly inside it. A home of "/" allows nothing.
bool deepEnoughInsideHome(const std::string& path) {
  const std::string home = homeDirectory();
  const std::string prefix = home + "/";
  if (!path.starts_with(prefix)) return false;
  std::string_view rest = std::string_view(path).substr(prefix.size());
  int pieces = 0;
  while (!rest.empty()) {
    const std::size_t slash = rest.find('/');
    const std::string_view piece = rest.substr(0, slash);
    if (piece == ".." || piece == ".") return false;
    if (!piece.empty()) ++pieces;
    if (slash == std::string_view::npos) break;
    rest.remove_prefix(slash + 1);
  }
  return pieces >= 2;
}

}  // namespace

bool DiskScanner::remove(const std::string& path) {
  if (!deepEnoughInsideHome(path)) return false;
  return !removeTreeSafely(path);
}

}  // namespace tw
