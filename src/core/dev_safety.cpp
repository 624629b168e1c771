#include "core/dev_safety.h"

#include <algorithm>
#include <vector>

#include "core/settings.h"
#include "core/system_folders.h"
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

bool deepEnoughBelow(const std::string& path, const std::string& root, std::size_t depth = 2) {
  const std::string prefix = root == "/" ? root : root + "/";
  return path.starts_with(prefix) && componentCount(std::string_view(path).substr(prefix.size())) >= depth;
}

// A folder removals may start from, as written and with its links resolved (each looked
// up once per question), and how many pieces below it an item must lie.
struct AllowedRoot {
  std::string written;
  std::string resolved;
  std::size_t depth = 2;

  AllowedRoot(const std::string& path, std::size_t depth)
      : written(standardizePath(path)), resolved(resolvedRoot(path)), depth(depth) {}
};

// The XDG base folders the user set in the environment. Each stands where ~/.cache or
// ~/.local/share stands by default, so what lies directly inside it is as far from the
// user's own files as ~/.cache/pip is.
std::vector<AllowedRoot> userBaseFolders(const Context& context) {
  const std::pair<const char*, const std::string*> folders[] = {{"XDG_CACHE_HOME", &context.cacheHome},
                                                                {"XDG_DATA_HOME", &context.dataHome},
                                                                {"XDG_CONFIG_HOME", &context.configHome},
                                                                {"XDG_STATE_HOME", &context.stateHome}};
  std::vector<AllowedRoot> roots;
  for (const auto& [variable, folder] : folders) {
    if (context.env.contains(variable) && folder->starts_with('/')) roots.emplace_back(*folder, 1);
  }
  return roots;
}

bool isSameOrInside(const std::string& path, const std::string& folder) {
  return path == folder || path.starts_with(folder == "/" ? folder : folder + "/");
}

std::vector<AllowedRoot> allowedRoots(const Context& context) {
  std::vector<AllowedRoot> roots{{context.home, 2}};
  if (context.settings) {
    for (const auto& root : DevSettings::configuredProjectRoots(*context.settings)) roots.emplace_back(root, 2);
  }
  // A base folder is a root of its own only apart from the others. Set to the home folder, a
  // project root or a folder holding one, it would let what lies directly inside those go;
  // inside one of them, that root already allows its entries and removal starts from it,
  // following no link on the way (a base folder inside the home folder could be swapped for
  // a link by anyone who can write there).
  const std::size_t strictRoots = roots.size();
  for (auto& base : userBaseFolders(context)) {
    const bool related = std::any_of(
        roots.begin(), roots.begin() + static_cast<std::ptrdiff_t>(strictRoots), [&](const AllowedRoot& root) {
          for (const auto* rootPath : {&root.written, &root.resolved}) {
            for (const auto* basePath : {&base.written, &base.resolved}) {
              if (isSameOrInside(*rootPath, *basePath) || isSameOrInside(*basePath, *rootPath)) return true;
            }
          }
          return false;
        });
    if (!related) roots.push_back(std::move(base));
  }
  return roots;
}

// What canRemove checks, answering where the removal starts and what it removes.
std::optional<RemovalStart> allowingRoot(const std::string& path, const Context& context) {
  const std::string standardized = standardizePath(path);
  if (standardized.empty() || standardized.front() != '/') return std::nullopt;
  if (standardized.find("/../") != std::string::npos || standardized.ends_with("/..")) return std::nullopt;
  const std::string target = whatItNames(standardized);
  if (isSystemFolder(target) || isSystemFolder(standardized)) return std::nullopt;

  // A repository root is never deleted directly, whatever else allows it.
  if (pathExists(target + "/.git")) return std::nullopt;

  std::optional<RemovalStart> deepest;
  for (const auto& [written, resolved, depth] : allowedRoots(context)) {
    if (isSystemFolder(written) || isSystemFolder(resolved) || !deepEnoughBelow(target, resolved, depth)) continue;
    // From the root as the path spells it where it can; else what the path really names,
    // from the root as it really is.
    RemovalStart start = deepEnoughBelow(standardized, written, depth) ? RemovalStart{written, standardized}
                                                                       : RemovalStart{resolved, target};
    if (!deepest || start.top.size() > deepest->top.size()) deepest = std::move(start);
  }
  return deepest;
}

}  // namespace

bool DevSafety::deepInsideHome(const std::string& path, const std::string& home) {
  if (isSystemFolder(standardizePath(home))) return false;
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
  return allowingRoot(path, context).has_value();
}

std::optional<RemovalStart> DevSafety::removalStart(const std::string& path, const Context& context) {
  return allowingRoot(path, context);
}

std::optional<std::string> DevSafety::refusalOfRemovals(const Context& context) {
  const std::string home = standardizePath(context.home);
  if (isSystemFolder(home) || isSystemFolder(resolvedRoot(home))) {
    return "Refusing to delete anything: the home folder is " + home +
           ", a system folder; set HOME to your own folder.";
  }
  if (!context.settings) return std::nullopt;
  if (const auto damage = context.settings->damage()) {
    return "Refusing to delete anything: the settings file " + context.settings->path() + " is damaged (" + *damage +
           "); repair or delete it, then try again.";
  }
  for (const auto& root : DevSettings::configuredProjectRoots(*context.settings)) {
    const std::string written = standardizePath(root);
    if (isSystemFolder(written) || isSystemFolder(resolvedRoot(written))) {
      return "Refusing to delete anything: the project folder " + written + " is a system folder; remove it from " +
             DevSettings::projectRootsKey + " in " + context.settings->path() + ".";
    }
  }
  return std::nullopt;
}

}  // namespace tw
