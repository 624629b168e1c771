#pragma once

// Fake homes with every Smart Clean location of one platform plus the traps around them,
// and what the catalogue must make of them. Shared by the catalogue tests and the
// command-line tests.

#include <sys/stat.h>

#include <cstdint>
#include <filesystem>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "support/fake_home.h"

namespace tw::test {

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

// Every file in a macOS home's Smart Clean locations, plus traps.
inline JunkHome makeMacJunkHome(FakeHome& home) {
  JunkHome layout;
  auto& offered = layout.offered;
  auto& kept = layout.kept;
  for (const char* id : {"caches", "appcaches", "logs", "xcode", "dev", "trash", "installers"}) offered[id];

  junkFile(home, "Library/Caches/com.apple.Safari/Cache.db");
  junkFile(home, "Library/Caches/.hidden-cache/data");
  junkFile(home, "Library/Caches/loose.bin");
  junkFile(home, "Library/Caches/.DS_Store");
  home.folder("Library/Caches/empty-folder");  // measures zero: never offered
  offered["caches"] = {"Library/Caches/com.apple.Safari", "Library/Caches/.hidden-cache", "Library/Caches/loose.bin"};
  kept.insert({"Library/Caches/.DS_Store", "Library/Caches/empty-folder"});

  const std::string support = "Library/Application Support/";
  junkFile(home, support + "Slack/Cache/data_1");                  // two levels down
  junkFile(home, support + "Google/Chrome/Default/Cache/data_0");  // four levels down
  junkFile(home, support + "Code/Code Cache/js/Cache/index");      // nested match, listed once
  junkFile(home, support + "Code/CachedExtensionVSIXs/ext.vsix");  //
  junkFile(home, support + "Discord/GPUCache/data_2");             //
  junkFile(home, support + "Deep/a/b/c/Cache/too-deep");           // five levels down
  junkFile(home, support + "Notes/Cache");                         // a file, not a folder
  junkFile(home, support + "Slack/cache/lower-case");              // names compare exactly
  junkFile(home, support + "Slack/storage/settings.json");         //
  offered["appcaches"] = {support + "Slack/Cache", support + "Google/Chrome/Default/Cache", support + "Code/Code Cache",
                          support + "Code/CachedExtensionVSIXs", support + "Discord/GPUCache"};
  kept.insert({support + "Deep/a/b/c/Cache/too-deep", support + "Notes/Cache", support + "Slack/cache/lower-case",
               support + "Slack/storage/settings.json"});

  junkFile(home, "Library/Logs/DiagnosticReports/app.crash");
  junkFile(home, "Library/Logs/install.log");
  offered["logs"] = {"Library/Logs/DiagnosticReports", "Library/Logs/install.log"};

  const std::string xcode = "Library/Developer/Xcode/";
  junkFile(home, xcode + "DerivedData/MyApp-abcdef/Build/Products/app");
  junkFile(home, xcode + "iOS DeviceSupport/17.0 (21A329)/Symbols/dyld");
  junkFile(home, xcode + "watchOS DeviceSupport/10.0 (21R355)/Symbols/dyld");
  // A file where a folder belongs: it cannot be listed, so it gives nothing.
  junkFile(home, xcode + "tvOS DeviceSupport");
  junkFile(home, "Library/Developer/CoreSimulator/Caches/dyld/cache");
  junkFile(home, "Library/Developer/CoreSimulator/Devices/device.plist");
  offered["xcode"] = {xcode + "DerivedData/MyApp-abcdef", xcode + "iOS DeviceSupport/17.0 (21A329)",
                      xcode + "watchOS DeviceSupport/10.0 (21R355)", "Library/Developer/CoreSimulator/Caches"};
  kept.insert({xcode + "tvOS DeviceSupport", "Library/Developer/CoreSimulator/Devices/device.plist"});

  const std::vector<std::string> packageCaches{
      ".npm/_cacache",       "Library/pnpm/store", ".bun/install/cache", ".gradle/caches", ".cargo/registry/cache",
      ".cargo/registry/src", ".m2/repository",     ".cocoapods/repos",   ".android/cache",
  };
  for (const auto& folder : packageCaches) {
    junkFile(home, folder + "/content");
    offered["dev"].insert(folder);
  }
  junkFile(home, ".cargo/bin/cargo");
  junkFile(home, ".cache/pip/http/wheel");
  junkFile(home, ".cache/.hidden-tool/state");
  for (const char* model : {"huggingface", "torch", "whisper", "lm-studio"}) {
    junkFile(home, std::string(".cache/") + model + "/model.bin");
    kept.insert(std::string(".cache/") + model + "/model.bin");
  }
  offered["dev"].insert({".cache/pip", ".cache/.hidden-tool"});
  kept.insert(".cargo/bin/cargo");

  junkFile(home, ".Trash/old report.txt");
  junkFile(home, ".Trash/Old Folder/inside.txt");
  junkFile(home, ".Trash/.DS_Store");
  offered["trash"] = {".Trash/old report.txt", ".Trash/Old Folder"};

  for (const char* name : {"Setup.DMG", "Installer.MPKG", "Xcode.xip", "disk.iso", "tool.pkg"}) {
    junkFile(home, std::string("Downloads/") + name);
    offered["installers"].insert(std::string("Downloads/") + name);
  }
  for (const char* name : {"archive.pkg.zip", "notes.txt", "ubuntu.deb", "dmg"}) {
    junkFile(home, std::string("Downloads/") + name);
  }

  // The Linux places are nothing on a Mac.
  junkFile(home, ".config/Code/Cache/data");
  junkFile(home, ".local/share/Trash/files/linux-trash.txt");

  for (const auto& [id, paths] : offered) {
    if (id == "trash" || id == "installers") kept.insert(paths.begin(), paths.end());
  }
  kept.insert({".config/Code/Cache/data", ".local/share/Trash/files/linux-trash.txt", "Downloads/archive.pkg.zip",
               "Downloads/notes.txt", "Downloads/ubuntu.deb"});
  return layout;
}

// Every file in a Linux home's Smart Clean locations, plus traps.
inline JunkHome makeLinuxJunkHome(FakeHome& home) {
  JunkHome layout;
  auto& offered = layout.offered;
  auto& kept = layout.kept;
  for (const char* id : {"caches", "appcaches", "logs", "xcode", "dev", "trash", "installers"}) offered[id];

  junkFile(home, ".cache/pip/http/wheel");
  junkFile(home, ".cache/mesa_shader_cache/index");
  junkFile(home, ".cache/.hidden-tool/state");
  junkFile(home, ".cache/thumbnail.png");
  junkFile(home, ".cache/.DS_Store");
  for (const char* model : {"huggingface", "torch", "whisper", "lm-studio"}) {
    junkFile(home, std::string(".cache/") + model + "/model.bin");
    kept.insert(std::string(".cache/") + model + "/model.bin");
  }
  offered["caches"] = {".cache/pip", ".cache/mesa_shader_cache", ".cache/.hidden-tool", ".cache/thumbnail.png"};
  kept.insert(".cache/.DS_Store");

  junkFile(home, ".config/Code/Cache/data");                          // two levels down
  junkFile(home, ".config/google-chrome/Default/GPUCache/data_0");    // three levels down
  junkFile(home, ".config/Code/User/workspaceStorage/1234/Cache/x");  // five levels down
  junkFile(home, ".config/discord/0.0.1/modules/Code Cache/js");      // four levels down
  junkFile(home, ".config/Slack/Cache");                              // a file, not a folder
  junkFile(home, ".config/Code/User/settings.json");                  //
  offered["appcaches"] = {".config/Code/Cache", ".config/google-chrome/Default/GPUCache",
                          ".config/discord/0.0.1/modules/Code Cache"};
  kept.insert(
      {".config/Code/User/workspaceStorage/1234/Cache/x", ".config/Slack/Cache", ".config/Code/User/settings.json"});

  const std::vector<std::string> packageCaches{
      ".npm/_cacache",         ".bun/install/cache",  ".gradle/caches",
      ".cargo/registry/cache", ".cargo/registry/src", ".m2/repository",
  };
  for (const auto& folder : packageCaches) {
    junkFile(home, folder + "/content");
    offered["dev"].insert(folder);
  }
  junkFile(home, ".cargo/bin/cargo");
  kept.insert(".cargo/bin/cargo");

  junkFile(home, ".local/share/Trash/files/old report.txt");
  junkFile(home, ".local/share/Trash/files/Old Folder/inside.txt");
  junkFile(home, ".local/share/Trash/info/old report.txt.trashinfo");
  offered["trash"] = {".local/share/Trash/files/old report.txt", ".local/share/Trash/files/Old Folder"};
  kept.insert(".local/share/Trash/info/old report.txt.trashinfo");

  for (const char* name : {"Setup.dmg", "tool.deb", "fedora.RPM", "Editor.AppImage", "Installer.MPKG"}) {
    junkFile(home, std::string("Downloads/") + name);
    offered["installers"].insert(std::string("Downloads/") + name);
  }
  for (const char* name : {"archive.pkg.zip", "notes.txt"}) junkFile(home, std::string("Downloads/") + name);

  // The macOS places are nothing on Linux.
  junkFile(home, "Library/Logs/install.log");
  junkFile(home, "Library/Caches/com.apple.Safari/Cache.db");
  junkFile(home, "Library/Developer/Xcode/DerivedData/MyApp-abcdef/Build/app");
  junkFile(home, ".Trash/mac-trash.txt");

  for (const auto& [id, paths] : offered) {
    if (id == "trash" || id == "installers") kept.insert(paths.begin(), paths.end());
  }
  kept.insert({"Downloads/archive.pkg.zip", "Downloads/notes.txt", "Library/Logs/install.log",
               "Library/Caches/com.apple.Safari/Cache.db", "Library/Developer/Xcode/DerivedData/MyApp-abcdef/Build/app",
               ".Trash/mac-trash.txt"});
  return layout;
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
