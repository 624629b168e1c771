#include "core/platform_words.h"

namespace tw {

const PlatformWords& macOSWords() {
  static const PlatformWords words{
      .installGit = "Install the Xcode Command Line Tools",
      .sharedCopies = "APFS clones",
      .cloneTarget = "APFS clones",
      .safeClean = "caches, logs, Xcode and package leftovers",
      .statusArea = "the menu bar",
      .systemDataBlurb =
          "What makes macOS's \"System Data\" huge: Time Machine local snapshots, iPhone and iPad "
          "backups, old macOS installers and firmware.",
  };
  return words;
}

// Git comes from the distribution's packages; the same name works with apt, dnf, pacman
// and zypper.
const PlatformWords& linuxWords() {
  static const PlatformWords words{
      .installGit = "Install the git package with your package manager (for example sudo apt install git)",
      .sharedCopies = "shared reflink extents",
      .cloneTarget = "reflinked copies that share their blocks",
      .safeClean = "caches, logs and package leftovers",
      .statusArea = "the panel's tray",
      .systemDataBlurb =
          "What the system keeps beyond your files: the journal's logs, downloaded packages, old "
          "Snap revisions, unused Flatpak runtimes and crash reports.",
  };
  return words;
}

std::string gitMissingNote(const PlatformWords& words, const std::string& purpose) {
  return "Git isn't installed. " + words.installGit + " to " + purpose + ".";
}

}  // namespace tw
