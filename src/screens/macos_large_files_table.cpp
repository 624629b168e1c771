#include "screens/large_files.h"

namespace tw {

// The macOS layout: screenshots and recordings land on the Desktop, Mail keeps opened
// attachments in its container, and the other screens own most of the Library.
const LargeFilesTable& macOSLargeFilesTable() {
  static const LargeFilesTable table{
      "macos",
      {
          "~/Library/Caches",
          "~/.Trash",
          // Xcode, simulators and device support.
          "~/Library/Developer",
          // Device backups and firmware (System Data).
          "~/Library/Application Support/MobileSync",
          "~/Library/iTunes",
          // Local AI model stores.
          "~/.ollama",
          "~/.lmstudio",
          "~/.cache",
          "~/Library/Application Support/nomic.ai",
          // Container and virtual machine disks.
          "~/Library/Containers/com.docker.docker",
          "~/.docker",
          "~/.colima",
          "~/.lima",
          "~/.orbstack",
          "~/Library/Group Containers/HUAQ24HBR6.dev.orbstack",
          "~/Library/Containers/com.utmapp.UTM",
          "~/Parallels",
          "~/Virtual Machines.localized",
          "~/.android/avd",
          // Toolchains and build caches.
          "~/.rustup",
          "~/.gradle",
          "~/.m2",
          "~/.nvm",
          "~/.pyenv",
      },
      {".git", ".Trash", ".Trashes"},
      {},
      "~/Downloads",
      {"~/Desktop", "~/Pictures/Screenshots", "~/Movies"},
      // "Screenshot 2024-05-01 at 10.22.33.png", older "Screen Shot ...", "Screen Recording ...".
      {"screenshot", "screen shot", "screen recording"},
      {"~/Library/Containers/com.apple.mail/Data/Library/Mail Downloads", "~/Library/Mail Downloads"},
      {"dmg", "pkg", "mpkg", "iso", "img", "xip", "zip", "tar", "gz", "tgz", "xz", "bz2", "7z", "rar"},
      {"apk", "aab", "ipa"},
      {},
  };
  return table;
}

}  // namespace tw
