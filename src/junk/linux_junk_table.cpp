#include "junk/junk_table.h"

namespace tw {

// The same seven categories at their Linux homes. There is no Library folder: app caches
// live in the XDG cache folder, Electron and Chromium apps keep theirs under the XDG
// config folder, sandboxed apps in their own folders (Flatpak's ~/.var/app, Snap's ~/snap),
// and the Trash is the freedesktop one. Xcode has no place here: its row has no sources,
// so the catalogue leaves it out.
const JunkTable& linuxJunkTable() {
  static const JunkTable table{
      "linux",
      {
          {"caches",
           "User Cache Files",
           "App caches in ~/.cache. Apps rebuild them when needed.",
           "archivebox",
           true,
           // Downloaded AI models also live here; they are large, slow to fetch again and
           // belong to their own screen.
           {JunkSource::entries("$XDG_CACHE_HOME", {"huggingface", "torch", "whisper", "lm-studio"})}},
          {"appcaches",
           "App & Browser Caches",
           "Cache folders of Chrome, VS Code, Slack, Discord and other Electron apps, and of Flatpak and Snap apps.",
           "globe",
           true,
           // A snap's "current" is a link to its revision's folder; the item is that folder.
           {JunkSource::cacheFolders("$XDG_CONFIG_HOME", 4), JunkSource::insideEach("~/.var/app", {"cache"}),
            JunkSource::insideEach("~/snap", {"common/.cache", "current/.cache"})}},
          {"logs",
           "Log Files",
           "Logs that apps keep in your home folder. They start new ones when needed.",
           "doc.text",
           true,
           // Only logs an app writes afresh: the previous sessions' Xorg logs, npm's per-command
           // debug logs, VS Code's per-session log folders. Files directly in the home folder
           // (~/.xsession-errors) are never removed, so they are not offered either.
           {JunkSource::existing({"~/.npm/_logs"}), JunkSource::entriesWithExtensions("$XDG_DATA_HOME/xorg", {"old"}),
            JunkSource::entries("$XDG_CONFIG_HOME/Code/logs")}},
          {"xcode", "Xcode Junk", "DerivedData, old device support files and simulator caches.", "hammer", true, {}},
          {"dev",
           "Developer Caches",
           "npm, pnpm, Yarn, Bun, Gradle, Cargo, pip and other package caches.",
           "shippingbox",
           true,
           // Not the XDG cache folder: "caches" already offers every entry of it, and an
           // item must not show up twice.
           {JunkSource::existing({"~/.npm/_cacache", "$XDG_DATA_HOME/pnpm/store", "~/.bun/install/cache",
                                  "~/.gradle/caches", "~/.cargo/registry/cache", "~/.cargo/registry/src",
                                  "~/.m2/repository", "~/.cocoapods/repos", "~/.android/cache"})}},
          {"trash",
           "Trash",
           "Everything currently in your Trash.",
           "trash",
           true,
           // A home that never trashed anything has no Trash folder yet; that is an empty
           // Trash, not an unreadable one.
           {JunkSource::entries("$XDG_DATA_HOME/Trash/files")
                .noteWhenUnreadable(
                    "Tidewarden can't read your Trash folder ({folder}). Check its permissions to empty the Trash "
                    "here.",
                    true)}},
          {"installers",
           "Installers in Downloads",
           // An AppImage is the application itself, not its installer.
           "Disk images and packages you probably already installed.",
           "arrow.down.app",
           false,
           {JunkSource::entriesWithExtensions("~/Downloads", {"dmg", "pkg", "xip", "iso", "mpkg", "deb", "rpm"})}},
      },
  };
  return table;
}

}  // namespace tw
