#pragma once

#include <optional>
#include <string>

#include "core/context.h"

namespace tw {

// A trusted folder to start a removal from, and the path below it to remove.
struct RemovalStart {
  std::string top;
  std::string path;
};

// The guard that every direct deletion passes.
struct DevSafety {
  // True only for paths at least two levels below the home folder or a project root, or
  // inside an XDG base folder the user set ($XDG_CACHE_HOME and the like: one level below
  // it, as ~/.cache/pip is two below home; never one that is or holds the home folder or
  // a project root), never a repository root, judged on what the path really names.
  // Never the file-system root or a system folder, whatever the home folder and the
  // project roots say.
  [[nodiscard]] static bool canRemove(const std::string& path, const Context& context);

  // Where removing `path` starts: the deepest allowed root (the home folder, a project
  // root or a base folder the user set) that it lies far enough below, and the path to
  // remove from there (the path as written, or what it really names when it reaches the
  // root through a link); nothing when canRemove refuses it.
  [[nodiscard]] static std::optional<RemovalStart> removalStart(const std::string& path, const Context& context);

  // Why nothing may be removed at all in this context, in one sentence for the user: the
  // home folder or a project root is the file-system root or a system folder. Nothing
  // when removals may go ahead. Listing is never refused.
  [[nodiscard]] static std::optional<std::string> refusalOfRemovals(const Context& context);

  // The disk scanner's guard, judged on the path as written: two or more pieces below
  // `home` and no "." or ".." piece, so never the home folder itself nor anything
  // directly inside it. A home that is "/" or a system folder allows nothing.
  [[nodiscard]] static bool deepInsideHome(const std::string& path, const std::string& home);
};

}  // namespace tw
