#pragma once

#include <optional>
#include <string>

namespace tw {

// What a freedesktop .desktop file says about the application it starts.
struct DesktopEntry {
  std::string name;  // the untranslated Name
  std::string exec;
  std::string tryExec;
  bool application = false;  // Type=Application
  bool hidden = false;       // NoDisplay or Hidden: not shown in menus

  [[nodiscard]] bool shownApplication() const { return application && !hidden; }
};

// Reads the [Desktop Entry] group of a .desktop file; nothing for a file that is missing,
// not a regular file, oversized or without that group.
[[nodiscard]] std::optional<DesktopEntry> readDesktopEntry(const std::string& path);

}  // namespace tw
