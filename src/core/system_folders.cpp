#include "core/system_folders.h"

#include <array>
#include <string_view>

namespace tw {
namespace {

// Folders that belong to the system with everything inside them (both platforms' names:
// neither collides with a user's folder on the other).
constexpr std::array<std::string_view, 17> systemTrees{
    "/bin",  "/boot", "/dev", "/etc",    "/lib",   "/lib32",   "/lib64",       "/libx32",        "/proc",
    "/sbin", "/sys",  "/usr", "/System", "/cores", "/Library", "/private/etc", "/private/var/db"};

// Folders that are the system's as a whole, though users keep their own folders inside.
constexpr std::array<std::string_view, 16> systemFolders{
    "/",    "/home", "/Users", "/var", "/opt",     "/tmp",          "/mnt",     "/media",
    "/srv", "/run",  "/snap",  "/nix", "/Volumes", "/Applications", "/private", "/private/var"};

}  // namespace

bool isSystemFolder(const std::string& path) {
  for (const std::string_view folder : systemFolders) {
    if (path == folder) return true;
  }
  for (const std::string_view tree : systemTrees) {
    if (path == tree || (path.starts_with(tree) && path.size() > tree.size() && path[tree.size()] == '/')) return true;
  }
  return false;
}

}  // namespace tw
