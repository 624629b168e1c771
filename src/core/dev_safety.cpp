#include "core/dev_safety.h"
#include "core/file_io.h"

#include <sys/stat.h>

#include <climits>
#include <cstdlib>
#include <memory>
#include <vector>

#include "core/home.h"
#include "core/path.h"
#include "core/settings.h"

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

bool DevSafety::canRemove(const std::string& path) {
  const std::string standardized = standardizePath(path);
  if (standardized.empty() || standardized.front() != '/') return false;
  if (standardized.find("/../") != std::string::npos || standardized.ends_with("/..")) return false;
  const std::string target = whatItNames(standardized);

  // A repository root is never deleted directly, whatever else allows it.
  struct stat info {};
  if (::lstat((target + "/.git").c_str(), &info) == 0) return false;

  std::vector<std::string> roots{homeDirectory()};
  for (const auto& root : DevSettings::configuredProjectRoots()) roots.push_back(root);
  for (const auto& root : roots) {
    if (deepEnoughBelow(target, resolvedRoot(root))) return true;
  }
  return false;
}

}  // namespace tw
