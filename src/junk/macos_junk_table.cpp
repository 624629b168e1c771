#include "junk/junk_table.h"

namespace tw {

// Where macOS keeps what apps and tools rebuild on their own.
const JunkTable& macOSJunkTable() {
  static const JunkTable table{
      "macos",
      {
          {"caches",
           "User Cache Files",
           "App caches in ~/Library/Caches. Apps rebuild them when needed.",
           "archivebox",
           true,
           {JunkSource::entries("~/Library/Caches")}},
          {"appcaches",
           "App & Browser Caches",
           "Cache folders of Chrome, VS Code, Slack, Discord and other Electron apps.",
           "globe",
           true,
           {JunkSource::cacheFolders("~/Library/Application Support", 4)}},
          {"logs",
           "Log Files",
           "Diagnostic logs in ~/Library/Logs.",
           "doc.text",
           true,
           {JunkSource::entries("~/Library/Logs")}},
          {"xcode",
           "Xcode Junk",
           "DerivedData, old device support files and simulator caches.",
           "hammer",
           true,
           {
               // Every device-support folder is offered whatever its age: "old" is the
               // user's call, not a filter.
               JunkSource::entries("~/Library/Developer/Xcode/DerivedData"),
               JunkSource::entries("~/Library/Developer/Xcode/iOS DeviceSupport"),
               JunkSource::entries("~/Library/Developer/Xcode/watchOS DeviceSupport"),
               JunkSource::entries("~/Library/Developer/Xcode/tvOS DeviceSupport"),
               JunkSource::existing({"~/Library/Developer/CoreSimulator/Caches"}),
           }},
          {"dev",
           "Developer Caches",
           "npm, pnpm, Yarn, Bun, Gradle, Cargo, pip and other package caches.",
           "shippingbox",
           true,
           {
               JunkSource::existing({"~/.npm/_cacache", "~/Library/pnpm/store", "~/.bun/install/cache",
                                     "~/.gradle/caches", "~/.cargo/registry/cache", "~/.cargo/registry/src",
                                     "~/.m2/repository", "~/.cocoapods/repos", "~/.android/cache"}),
               // Downloaded AI models also live here; they are large, slow to fetch again and
               // belong to their own screen.
               JunkSource::entries("~/.cache", {"huggingface", "torch", "whisper", "lm-studio"}),
           }},
          {"trash",
           "Trash",
           "Everything currently in your Trash.",
           "trash",
           true,
           {JunkSource::entries("~/.Trash")
                .noteWhenUnreadable(
                    "Grant Tidewarden Full Disk Access in System Settings \u203A Privacy & Security to empty the "
                    "Trash here.")}},
          {"installers",
           "Installers in Downloads",
           "Disk images and packages you probably already installed.",
           "arrow.down.app",
           false,
           {JunkSource::entriesWithExtensions("~/Downloads", {"dmg", "pkg", "xip", "iso", "mpkg"})}},
      },
  };
  return table;
}

}  // namespace tw
