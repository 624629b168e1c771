#include "screens/large_files.h"

namespace tw {

// The freedesktop layout: user folders from user-dirs.dirs, screenshots where GNOME and KDE
// save them, and the places of the other screens under the XDG folders.
const LargeFilesTable& linuxLargeFilesTable() {
  static const LargeFilesTable table{
      "linux",
      {
          // Smart Clean and the AI Models screen (Hugging Face, PyTorch and Whisper cache
          // their models here).
          "$XDG_CACHE_HOME",
          // The Trash has its own screen.
          "$XDG_DATA_HOME/Trash",
          // Local AI model stores.
          "~/.ollama",
          "~/.lmstudio",
          "$XDG_DATA_HOME/nomic.ai",
          // Container and virtual machine disks.
          "~/.docker",
          "$XDG_DATA_HOME/docker",
          "$XDG_DATA_HOME/containers",
          "$XDG_DATA_HOME/gnome-boxes",
          "$XDG_DATA_HOME/libvirt",
          "~/VirtualBox VMs",
          "~/.vagrant.d",
          "~/.colima",
          "~/.lima",
          "~/.android/avd",
          // Installed apps and their data (the Uninstaller).
          "$XDG_DATA_HOME/flatpak",
          "~/.var/app",
          "~/snap",
          // Toolchains and build caches.
          "~/.rustup",
          "~/.gradle",
          "~/.m2",
          "~/.nvm",
          "~/.pyenv",
          "~/.sdkman",
      },
      {".git", ".Trash"},
      {".Trash-"},
      "$XDG_DOWNLOAD_DIR",
      {"$XDG_PICTURES_DIR", "$XDG_PICTURES_DIR/Screenshots", "$XDG_VIDEOS_DIR", "$XDG_VIDEOS_DIR/Screencasts"},
      // GNOME: "Screenshot from 2024-05-01 10-22-33.png", "Screencast from ....webm";
      // KDE Spectacle: "Screenshot_20240501_102233.png".
      {"screenshot", "screencast", "screen recording"},
      {},
      {"iso", "img", "deb", "rpm", "dmg", "pkg", "flatpak", "flatpakref", "snap", "run", "msi",
       "exe", "zip", "tar", "gz",  "tgz", "xz",  "bz2",     "zst",        "7z",   "rar"},
      {"apk", "aab", "ipa"},
      // AppImages are apps: the Uninstaller lists them.
      {"appimage"},
  };
  return table;
}

}  // namespace tw
