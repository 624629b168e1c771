#pragma once

#include <set>
#include <string>
#include <vector>

#include "core/date.h"
#include "core/dev_group.h"

namespace tw {

// Where the Large & Old Files screen looks, and what it leaves to other screens: one table
// per platform. Paths are table paths (see Places).
struct LargeFilesTable {
  std::string name;  // "linux" or "macos"
  // Folders another screen owns (caches, the Trash, model stores, VM disks): never walked.
  std::vector<std::string> ownedPlaces;
  // Folder names another screen owns wherever they are (git's object stores, Trash folders),
  // and name beginnings (the Trash folders of other volumes).
  std::set<std::string> ownedFolderNames;
  std::vector<std::string> ownedFolderPrefixes;
  std::string downloads;
  // Folders whose screenshots and recordings are offered, and how the desktop names them
  // (lower-case name beginnings).
  std::vector<std::string> screenshotFolders;
  std::vector<std::string> screenshotPrefixes;
  // Folders where a mail app keeps the attachments it opened.
  std::vector<std::string> mailDownloads;
  // Lower-case extensions (the text after the last dot).
  std::set<std::string> installerExtensions;
  std::set<std::string> buildExtensions;
  // Files of these extensions belong to another screen (AppImages are apps).
  std::set<std::string> ownedExtensions;
};

[[nodiscard]] const LargeFilesTable& linuxLargeFilesTable();
[[nodiscard]] const LargeFilesTable& macOSLargeFilesTable();
// The table of the platform this program was built for.
[[nodiscard]] const LargeFilesTable& platformLargeFilesTable();

// The Large & Old Files screen: big files anywhere in the home folder, old downloads, old
// screenshots and recordings, installers, app builds and mail downloads. One walk with the
// disk scanner, which keeps every file of 1 MiB or more; smaller ones are folded away.
// Everything goes to the Trash.
struct LargeFiles {
  static constexpr std::int64_t bigFileBytes = 500'000'000;
  static constexpr int oldDownloadDays = 90;
  static constexpr int oldScreenshotDays = 30;

  // `projectRoots` on another file system than the home folder are walked too; the walk
  // leaves no other file system. The context's stop token ends the walk early.
  [[nodiscard]] static ProviderResult scan(const LargeFilesTable& table, const Context& context,
                                           const std::vector<std::string>& projectRoots, Date now);
  // The scan of this platform's table over the settings' project roots.
  [[nodiscard]] static ProviderResult load(const Context& context);
};

}  // namespace tw
