#include <sys/stat.h>

#include <cstdio>

#include "core/apple_script.h"
#include "core/file_io.h"
#include "core/home.h"
#include "core/path.h"
#include "core/trash_mover.h"

namespace tw {
namespace {

// A free name in ~/.Trash: "name", then "name 2", "name 3"... as the Finder does.
std::string freeTrashPath(const std::string& name) {
  const std::string trash = homeDirectory() + "/.Trash";
  std::string candidate = trash + "/" + name;
  for (int n = 2; pathExists(candidate) && n < 10'000; ++n) candidate = trash + "/" + name + " " + std::to_string(n);
  return candidate;
}

}  // namespace

bool moveToTrash(const std::string& path) {
  if (!pathExists(path)) return false;
  if (std::rename(path.c_str(), freeTrashPath(lastPathComponent(path)).c_str()) != 0) {
    // Other volumes and protected items: let the Finder do it (it may ask for a password).
    const std::string script =
        "tell application \"Finder\" to delete (POSIX file \"" + appleScriptEscaped(path) + "\" as alias)";
    if (runAppleScript(script)) return false;
  }
  return !pathExists(path);
}

}  // namespace tw
