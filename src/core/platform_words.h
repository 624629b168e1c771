#pragma once

#include <string>

namespace tw {

// The few phrases that name a platform's own things (its way of installing git, what it
// calls blocks shared between copies). One set per platform, both compiled everywhere.
struct PlatformWords {
  // Completes "Git isn't installed. … to manage worktrees."
  std::string installGit;
  // What deleting a file frees nothing of, beside hard links.
  std::string sharedCopies;
  // What the duplicate finder turns the copies into.
  std::string cloneTarget;
  // What `clean --safe` deletes, as the help lists it.
  std::string safeClean;
  // Where the app's status icon sits: "Show Tidewarden in …".
  std::string statusArea;
  // What the System Data screen looks at, as its header says.
  std::string systemDataBlurb;
};

[[nodiscard]] const PlatformWords& macOSWords();
[[nodiscard]] const PlatformWords& linuxWords();
// The set of the platform this is built for.
[[nodiscard]] const PlatformWords& platformWords();

// "Git isn't installed. Install … to <purpose>."
[[nodiscard]] std::string gitMissingNote(const PlatformWords& words, const std::string& purpose);

}  // namespace tw
