#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "core/context.h"
#include "core/date.h"
#include "lens/disk_scanner.h"

namespace tw {

// A folder whose size changed between two scans of the same root.
struct ScanChange {
  std::string path;
  std::int64_t before = 0;  // 0 when the earlier scan did not record it
  std::int64_t after = 0;
  friend bool operator==(const ScanChange&, const ScanChange&) = default;
};

// Per scanned root, a flat map of the big folders' sizes from the last full scan, kept in
// <data folder>/Tidewarden/snapshots, so the next scan can say what grew or shrank. Every
// read or write failure is silent: no snapshot means no comparison.
struct Snapshots {
  static constexpr int maxDescentDepth = 7;                 // deeper nodes are recorded, not entered
  static constexpr std::int64_t descentBytes = 50'000'000;  // smaller folders are not entered
  static constexpr std::int64_t changeBytes = 100'000'000;  // smaller changes are not reported
  static constexpr std::size_t maxChanges = 60;

  struct Comparison {
    Date since;  // when the previous snapshot was taken
    std::vector<ScanChange> changes;
  };

  // Folder path -> freeable bytes: the root, and below it every folder child of a folder
  // of at least descentBytes, down to maxDescentDepth levels of descent.
  [[nodiscard]] static std::map<std::string, std::int64_t> flatten(const FSNode& root);

  // Compares a finished tree with the stored snapshot of the same root, stores the new
  // snapshot in its place and returns the changes of at least changeBytes, the biggest
  // first (equal changes by path), at most maxChanges; nothing when there was no readable
  // snapshot before, and nothing at all in sample-data mode.
  static std::optional<Comparison> compareAndSave(const Context& context, const FSNode& root,
                                                  Date now = std::chrono::system_clock::now());

  // The snapshot folder, and the file for one root: the standard base64 of the path's
  // bytes with every "/" of it turned into "_", then ".json".
  [[nodiscard]] static std::string folder(const Context& context);
  [[nodiscard]] static std::string fileName(const std::string& rootPath);
};

}  // namespace tw
