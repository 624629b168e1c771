#pragma once

#include <optional>
#include <set>
#include <string>
#include <vector>

#include "core/context.h"

namespace tw {

// Where the Smart Clean catalogue looks is data: one table per platform, read by one set
// of finders. Paths in a table begin with "~" (the home folder) or with "$XDG_CACHE_HOME",
// "$XDG_CONFIG_HOME" or "$XDG_DATA_HOME" (see JunkRoots); they are resolved once, when the
// catalogue is built.

// One place a category looks.
struct JunkSource {
  enum class Kind {
    entries,       // every name directly inside `path`, except `exceptNames` and ".DS_Store"
    existing,      // each of `paths` that exists, in order
    cacheFolders,  // folders named one of `folderNames`, 1 to `maxDepth` levels below `path`
    insideEach,    // for every folder directly inside `path`, each of `insidePaths` in it that is a folder
  };

  Kind kind = Kind::entries;
  std::vector<std::string> paths;  // one folder, except for `existing`
  std::set<std::string> exceptNames;
  std::set<std::string> extensions;  // entries: when not empty, only names with one of these
  std::set<std::string> folderNames;
  int maxDepth = 0;
  // insideEach: relative paths; a link among their folders whose target is a plain name
  // beside it (Snap's "current") is read as that name, any other link ends the path.
  std::vector<std::string> insidePaths;
  // entries: a folder that cannot be listed becomes this note instead of nothing;
  // "{folder}" in it shows the folder.
  std::optional<std::string> unreadableNote;
  // With a note: a folder that does not exist at all is empty, not unreadable.
  bool missingIsEmpty = false;

  [[nodiscard]] static JunkSource entries(std::string folder, std::set<std::string> exceptNames = {});
  [[nodiscard]] static JunkSource entriesWithExtensions(std::string folder, std::set<std::string> extensions);
  [[nodiscard]] static JunkSource existing(std::vector<std::string> paths);
  [[nodiscard]] static JunkSource cacheFolders(std::string root, int maxDepth);
  [[nodiscard]] static JunkSource insideEach(std::string root, std::vector<std::string> insidePaths);
  [[nodiscard]] JunkSource noteWhenUnreadable(std::string note, bool missingIsEmpty = false) const;
};

// One category of a table: its texts and where it looks.
struct JunkTableRow {
  std::string id;
  std::string title;
  std::string detail;
  std::string icon;
  bool defaultSelected = true;
  std::vector<JunkSource> sources;  // no sources: the platform has no such place
};

struct JunkTable {
  std::string name;  // "macos" or "linux"
  std::vector<JunkTableRow> rows;
};

// The folder names that Chromium and Electron apps give their caches, compared exactly.
[[nodiscard]] const std::set<std::string>& cacheFolderNames();

[[nodiscard]] const JunkTable& macOSJunkTable();
[[nodiscard]] const JunkTable& linuxJunkTable();
// The table of the platform this program was built for.
[[nodiscard]] const JunkTable& platformJunkTable();
// "macos" or "linux"; nothing for any other name.
[[nodiscard]] const JunkTable* junkTableNamed(const std::string& name);

// The folders a table's paths are relative to, taken from the context.
struct JunkRoots {
  std::string home;
  std::string cacheHome;   // $XDG_CACHE_HOME, else ~/.cache
  std::string configHome;  // $XDG_CONFIG_HOME, else ~/.config
  std::string dataHome;    // $XDG_DATA_HOME, else ~/.local/share

  [[nodiscard]] static JunkRoots of(const Context& context);
  // A table path made absolute; any other path is returned as it is.
  [[nodiscard]] std::string expand(const std::string& path) const;
  // The home prefix shown as "~".
  [[nodiscard]] std::string tilde(const std::string& path) const;
};

}  // namespace tw
