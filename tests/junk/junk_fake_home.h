#pragma once

// Fake homes with every Smart Clean location of one platform plus the traps around them,
// and what the catalogue must make of them. Shared by the catalogue tests and the
// command-line tests.

#include <sys/stat.h>

#include <cstdint>
#include <filesystem>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "support/fake_home.h"

namespace tw::test {

inline const std::vector<std::string> kJunkCategoryIds{"caches", "appcaches", "logs",      "xcode",
                                                       "dev",    "trash",     "installers"};
// Linux has no Xcode: that category is left out.
inline const std::vector<std::string> kLinuxJunkCategoryIds{"caches", "appcaches", "logs",
                                                            "dev",    "trash",     "installers"};
inline const std::set<std::string> kSafeJunkCategoryIds{"caches", "appcaches", "logs", "xcode", "dev"};

// Per category id, the home-relative paths it must offer after measuring.
using Offered = std::map<std::string, std::set<std::string>>;

struct JunkHome {
  Offered offered;
  // Home-relative paths that no safe clean may touch: traps, the Trash, installers and
  // the other platform's locations.
  std::set<std::string> kept;
};

inline constexpr std::int64_t junkFileSize = 5000;

inline void junkFile(FakeHome& home, const std::string& relative) { home.file(relative, junkFileSize); }

// Stocks a fake home from entries "id:offered|rest": the file "offered" + "rest" is created
// and category `id` must offer "offered" (the file itself when there is no "|"). An entry
// without "id:" is a trap nothing may offer; one ending in "/" is a folder. Files
// differ in size so that the order of items means something.
inline JunkHome stockJunkHome(FakeHome& home, const std::vector<std::string>& entries) {
  JunkHome layout;
  for (const auto& id : kJunkCategoryIds) layout.offered[id];
  for (std::size_t index = 0; index < entries.size(); ++index) {
    const std::string& entry = entries[index];
    const std::size_t colon = entry.find(':');
    const std::string id = colon == std::string::npos ? "" : entry.substr(0, colon);
    std::string path = entry.substr(id.empty() ? 0 : colon + 1);
    const std::string offered = path.substr(0, path.find('|'));
    std::erase(path, '|');
    path.ends_with('/') ? (void)home.folder(path) : (void)home.file(path, junkFileSize + 4096 * (index % 5));
    if (!id.empty()) layout.offered[id].insert(offered);
    if (!kSafeJunkCategoryIds.contains(id)) layout.kept.insert(id.empty() ? path : offered);
  }
  return layout;
}

// Every Smart Clean location of a macOS home, plus traps.
inline JunkHome makeMacJunkHome(FakeHome& home) {
  const std::string support = "appcaches:Library/Application Support/", xcode = "xcode:Library/Developer/Xcode/";
  return stockJunkHome(
      home,
      {"caches:Library/Caches/com.apple.Safari|/Cache.db", "caches:Library/Caches/.hidden-cache|/data",
       "caches:Library/Caches/loose.bin", "Library/Caches/.DS_Store",
       // An empty folder measures zero, so it is never offered.
       "Library/Caches/empty-folder/",
       // Cache folders two and four levels down, and one inside another listed once.
       support + "Slack/Cache|/data_1", support + "Google/Chrome/Default/Cache|/data_0",
       support + "Code/Code Cache|/js/Cache/index", support + "Code/CachedExtensionVSIXs|/ext.vsix",
       support + "Discord/GPUCache|/data_2",
       // Too deep, a file named like a cache folder, names compare exactly, other files.
       "Library/Application Support/Deep/a/b/c/Cache/too-deep", "Library/Application Support/Notes/Cache",
       "Library/Application Support/Slack/cache/lower-case", "Library/Application Support/Slack/storage/settings.json",
       "logs:Library/Logs/DiagnosticReports|/app.crash", "logs:Library/Logs/install.log", "Library/Logs/",
       xcode + "DerivedData/MyApp-abcdef|/Build/Products/app", xcode + "iOS DeviceSupport/17.0 (21A329)|/Symbols/dyld",
       xcode + "watchOS DeviceSupport/10.0 (21R355)|/Symbols/dyld",
       "xcode:Library/Developer/CoreSimulator/Caches|/dyld/cache",
       // A file where a folder belongs.
       "Library/Developer/Xcode/tvOS DeviceSupport", "Library/Developer/CoreSimulator/Devices/device.plist",
       // The package caches, and ~/.cache without the AI models.
       "dev:.npm/_cacache|/content", "dev:Library/pnpm/store|/content", "dev:.bun/install/cache|/content",
       "dev:.gradle/caches|/content", "dev:.cargo/registry/cache|/content", "dev:.cargo/registry/src|/content",
       "dev:.m2/repository|/content", "dev:.cocoapods/repos|/content", "dev:.android/cache|/content",
       ".cargo/bin/cargo", "dev:.cache/pip|/http/wheel", "dev:.cache/.hidden-tool|/state",
       ".cache/huggingface/model.bin", ".cache/torch/model.bin", ".cache/whisper/model.bin",
       ".cache/lm-studio/model.bin",
       // The Trash, and installers by extension whatever its case.
       "trash:.Trash/old report.txt", "trash:.Trash/Old Folder|/inside.txt", ".Trash/.DS_Store",
       "installers:Downloads/Setup.DMG", "installers:Downloads/Installer.MPKG", "installers:Downloads/Xcode.xip",
       "installers:Downloads/disk.iso", "installers:Downloads/tool.pkg", "Downloads/archive.pkg.zip",
       "Downloads/notes.txt", "Downloads/ubuntu.deb", "Downloads/dmg",
       // The Linux places are nothing on a Mac.
       ".config/Code/Cache/data", ".local/share/Trash/files/linux-trash.txt"});
}

// Every Smart Clean location of a Linux home, plus traps.
inline JunkHome makeLinuxJunkHome(FakeHome& home) {
  // A snap's "current" names its revision's folder; a link leading anywhere else is no way in.
  home.folder("snap/firefox");
  home.folder("snap/rogue");
  home.file("outside/.cache/precious", junkFileSize);
  std::filesystem::create_directory_symlink("1234", home / "snap/firefox/current");
  std::filesystem::create_directory_symlink(home / "outside", home / "snap/rogue/current");
  JunkHome layout = stockJunkHome(
      home,
      {"caches:.cache/pip|/http/wheel", "caches:.cache/mesa_shader_cache|/index", "caches:.cache/.hidden-tool|/state",
       "caches:.cache/thumbnail.png", ".cache/.DS_Store", ".cache/huggingface/model.bin", ".cache/torch/model.bin",
       ".cache/whisper/model.bin", ".cache/lm-studio/model.bin",
       // Cache folders two, three and four levels down; too deep; a file named like one.
       "appcaches:.config/Code/Cache|/data", "appcaches:.config/google-chrome/Default/GPUCache|/data_0",
       "appcaches:.config/discord/0.0.1/modules/Code Cache|/js", ".config/Code/User/workspaceStorage/1234/Cache/x",
       ".config/Slack/Cache", ".config/Code/User/settings.json",
       // The package caches, the Trash's files (not its info) and installers.
       "dev:.npm/_cacache|/content", "dev:.bun/install/cache|/content", "dev:.gradle/caches|/content",
       "dev:.cargo/registry/cache|/content", "dev:.cargo/registry/src|/content", "dev:.m2/repository|/content",
       ".cargo/bin/cargo", "trash:.local/share/Trash/files/old report.txt",
       "trash:.local/share/Trash/files/Old Folder|/inside.txt", ".local/share/Trash/info/old report.txt.trashinfo",
       "installers:Downloads/Setup.dmg", "installers:Downloads/tool.deb", "installers:Downloads/fedora.RPM",
       "installers:Downloads/Installer.MPKG", "Downloads/archive.pkg.zip", "Downloads/notes.txt",
       // The macOS places are nothing on Linux.
       "Library/Logs/install.log", "Library/Caches/com.apple.Safari/Cache.db",
       "Library/Developer/Xcode/DerivedData/MyApp-abcdef/Build/app", ".Trash/mac-trash.txt",
       // Flatpak and Snap apps keep their caches in their own folders; only the cache goes.
       "appcaches:.var/app/org.mozilla.firefox/cache|/fontconfig/x", ".var/app/org.mozilla.firefox/data/keep.db",
       ".var/app/org.gimp.GIMP/config/gimprc", "appcaches:snap/firefox/common/.cache|/mozilla/x",
       "appcaches:snap/firefox/1234/.cache|/thumbnails/x", "snap/firefox/1234/.mozilla/profile.db",
       "snap/firefox/1233/.cache/an-older-revision",
       // Logs apps write afresh, beside the ones in use.
       ".xsession-errors", "logs:.npm/_logs|/2024-01-01-debug-0.log", "logs:.local/share/xorg/Xorg.0.log.old",
       ".local/share/xorg/Xorg.0.log", "logs:.config/Code/logs/20240101T100000|/main.log",
       // pnpm's store where pnpm puts it on Linux; an AppImage is an app, not an installer.
       "dev:.local/share/pnpm/store|/v3/files/00/blob", "Downloads/Editor.AppImage"});
  layout.kept.insert("outside/.cache/precious");
  return layout;
}

// Runs tidewarden with one platform's table ("macos" or "linux") and, if given, another
// XDG cache folder.
inline RunResult tidewardenWith(const std::string& table, const std::vector<std::string>& arguments,
                                const std::string& cacheHome = "") {
  std::map<std::string, std::optional<std::string>> environment{{"TIDEWARDEN_JUNK_TABLE", table}};
  if (!cacheHome.empty()) environment["XDG_CACHE_HOME"] = cacheHome;
  return runTidewarden(arguments, environment);
}

// Every path under `root`, relative to it, links not followed.
inline std::set<std::string> treeSnapshot(const std::string& root) {
  namespace fs = std::filesystem;
  std::set<std::string> paths;
  for (auto it = fs::recursive_directory_iterator(root); it != fs::recursive_directory_iterator(); ++it) {
    paths.insert(fs::relative(it->path(), root).string());
  }
  return paths;
}

// Allocated bytes of the files under a path, counted independently of the scanner.
inline std::int64_t allocatedBytes(const std::string& path) {
  namespace fs = std::filesystem;
  const auto blocks = [](const std::string& file) {
    struct stat info {};
    return ::lstat(file.c_str(), &info) == 0 ? static_cast<std::int64_t>(info.st_blocks) * 512 : 0;
  };
  if (!fs::is_directory(fs::symlink_status(path))) return blocks(path);
  std::int64_t total = 0;
  for (const auto& entry : fs::recursive_directory_iterator(path)) {
    if (!fs::is_directory(entry.symlink_status())) total += blocks(entry.path().string());
  }
  return total;
}

}  // namespace tw::test
