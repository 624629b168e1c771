#pragma once

#include <map>
#include <string>
#include <string_view>

#include "core/context.h"

namespace tw {

// Where a screen's location tables point, worked out once from the context (the home and
// XDG folders, the environment) and the folder that system paths hang from (empty for the
// real system; tests give a temporary one).
//
// Table paths begin with "~" (the home folder), with one of the folder names below
// ("$XDG_DATA_HOME", "$XDG_DOWNLOAD_DIR", ...), or with "/" (a system path, under the root).
struct Places {
  std::string home;
  std::string root;
  std::map<std::string, std::string, std::less<>> folders;  // "$XDG_DATA_HOME" -> its path

  // The context's XDG base folders, and the user folders (Desktop, Downloads, Pictures,
  // Videos) from its environment or the user's user-dirs.dirs file.
  [[nodiscard]] static Places make(const Context& context, std::string root = "");

  // A table path made absolute. A path naming a folder this user does not have (a user
  // folder switched off) gives an empty string.
  [[nodiscard]] std::string expand(std::string_view tablePath) const;
  // A system path under the root folder.
  [[nodiscard]] std::string system(std::string_view absolute) const;
  // A path for the user: the home folder shown as "~", the root folder taken off.
  [[nodiscard]] std::string tilde(std::string_view path) const;
  // The system path a file under the root stands for: the root prefix taken off.
  [[nodiscard]] std::string unrooted(std::string_view path) const;
};

// The folder system paths hang from: "" (the real system) unless TIDEWARDEN_SYSTEM_ROOT
// names another absolute folder, as tests do to give the screens a made-up system. Tools
// the screens run still act on the real system.
[[nodiscard]] std::string systemRoot(const Environment& env);

}  // namespace tw
