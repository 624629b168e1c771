#pragma once

#include <cstdint>
#include <optional>
#include <stop_token>
#include <string>
#include <vector>

namespace tw {

// Allocated bytes, and the part of them that removing the thing would give back (data
// that other hard links or clones still hold excluded).
struct Usage {
  std::int64_t size = 0;
  std::int64_t freeable = 0;
  friend bool operator==(const Usage&, const Usage&) = default;
};

// One entry of a folder as the bulk listing reports it.
struct FolderEntry {
  std::string name;
  bool isDir = false;
  std::int64_t size = 0;  // allocated bytes; 0 for folders
  std::uint64_t fileID = 0;
  std::uint32_t links = 1;
  std::int64_t privateSize = 0;  // bytes deleting it would really free
};

// Every readable entry of a folder in listing order; nothing when it cannot be opened.
// Never follows a symbolic link, also not for `path` itself.
[[nodiscard]] std::optional<std::vector<FolderEntry>> listFolder(const std::string& path);
// An entry's name and whether it is a folder (a link to one is not).
struct NamedFolderEntry {
  std::string name;
  bool isDir = false;
};
// The names in a folder, in listing order, without measuring anything: much cheaper than
// listFolder where sizes are not needed. Never follows a symbolic link.
[[nodiscard]] std::optional<std::vector<NamedFolderEntry>> listFolderNames(const std::string& path);
// The names of the folders in a folder, in listing order; none when it cannot be read.
[[nodiscard]] std::vector<std::string> subfolderNames(const std::string& path);
// The same for the folder a search starts from: a link there (a project root, ~/.cache or
// ~/Downloads kept on another disk) is followed, once, at the root; the entries below it
// are reported as listFolder reports them, so a walk follows no link further down.
[[nodiscard]] std::optional<std::vector<FolderEntry>> listRootFolder(const std::string& path);

// What a path takes on disk, links not followed and other file systems included; a
// multiply-linked file counts in the size every time and never as freeable. A stop
// request ends the walk early (the sum so far comes back).
[[nodiscard]] Usage usageOf(const std::string& path, std::stop_token stop = {});
// The allocated bytes alone, without asking the file system about shared blocks.
[[nodiscard]] std::int64_t allocatedSize(const std::string& path, std::stop_token stop = {});

}  // namespace tw
