#pragma once

#include <future>
#include <string>
#include <vector>

#include "screens/resolved_folders.h"

namespace tw {

// What running programs are using right now: the program file, the working folder and
// every open file of each process this user may inspect, as resolved paths. A version of
// a tool, an IDE cache or an emulator is in use while any of them lies inside it.
// Not for use from several threads at once: it remembers the folders it resolved.
class PathsInUse {
 public:
  // A fresh look at the running processes.
  [[nodiscard]] static PathsInUse snapshot();
  // The same look taken on a thread of its own, so that reading every process's open files
  // overlaps the caller's own reading of the disk; get() waits for it.
  [[nodiscard]] static std::future<PathsInUse> lookInBackground();
  explicit PathsInUse(std::vector<std::string> paths);

  // Whether anything in use is `folder` itself or lies inside it (compared resolved).
  [[nodiscard]] bool inside(const std::string& folder) const;
  // The same for a folder its parent's listing named as a folder (see
  // ResolvedFolders::resolveListedFolder).
  [[nodiscard]] bool insideListedFolder(const std::string& folder) const;
  // The same for a folder whose links are already resolved.
  [[nodiscard]] bool insideResolved(const std::string& resolvedFolder) const;

 private:
  [[nodiscard]] std::string resolved(const std::string& path) const;

  std::vector<std::string> sorted_;
  mutable ResolvedFolders folders_;
};

// The platform's list of paths that running processes use; see PathsInUse.
[[nodiscard]] std::vector<std::string> runningProcessPaths();

}  // namespace tw
