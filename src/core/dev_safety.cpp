#include "core/dev_safety.h"

#include <vector>

#include "core/settings.h"
#include "fs/file_io.h"
#include "fs/path.h"

namespace tw {
namespace {

// The standardized path with every link in it resolved. Missing trailing pieces are kept
// as written (nothing there can be a link), and so is the last component: removing a
// link removes the link, not what it points to.
std::string whatItNames(const std::string& standardized) {
  if (standardized == "/") return standardized;
  std::string existing = parentPath(standardized);
  std::string missing = lastPathComponent(standardized);
  for (;;) {
    if (auto resolved = resolvedPath(existing)) return standardizePath(joinPath(*resolved, missing));
    if (existing == "/") return standardized;
    missing = lastPathComponent(existing) + "/" + missing;
    existing = parentPath(existing);
  }
}

std::string resolvedRoot(const std::string& root) { return resolvedPath(root).value_or(standardizePath(root)); }

std::size_t componentCount(std::string_view rest) {
  std::size_t count = 0;
  bool inPiece = false;
  for (const char c : rest) {
    if (c == '/') {
      inPiece = false;
    } else if (!inPiece) {
      inPiece = true;
      ++count;
    }
  }
  return count;
}

bool deepEnoughBelow(const std::string& path, const std::string& root) {
  const std::string prefix = root == "/" ? root : root + "/";
  return path.starts_with(prefix) && componentCount(std::string_view(path).substr(prefix.size())) >= 2;
}

}  // namespace

bool DevSafety::deepInsideHome(const std::string& path, const std::string& home) {
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

bool DevSafety::canRemove(const std::string& path, const Context& context) {
  const std::string standardized = standardizePath(path);
  if (standardized.empty() || standardized.front() != '/') return false;
  if (standardized.find("/../") != std::string::npos || standardized.ends_with("/..")) return false;
  const std::string target = whatItNames(standardized);

  // A repository root is never deleted directly, whatever else allows it.
  if (pathExists(target + "/.git")) return false;

  std::vector<std::string> roots{context.home};
  if (context.settings) {
    for (const auto& root : DevSettings::configuredProjectRoots(*context.settings)) roots.push_back(root);
  }
  for (const auto& root : roots) {
    if (deepEnoughBelow(target, resolvedRoot(root))) return true;
  }
  return false;
}

}  // namespace tw
