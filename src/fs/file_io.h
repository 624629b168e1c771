#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <system_error>

namespace tw {

// Writes all of `contents` to an open file, going on after short writes.
[[nodiscard]] std::error_code writeAll(int fd, std::string_view contents);

// Writes `contents` beside `path`, flushes it to disk and renames it into place, so a
// reader sees either the old file or the new one, never half of one.
[[nodiscard]] std::error_code writeFileAtomically(const std::string& path, std::string_view contents);

// Something is at the path (a link counts itself; it is not followed).
[[nodiscard]] bool pathExists(const std::string& path);

// The path is a folder itself, not a link to one.
[[nodiscard]] bool isFolder(const std::string& path);

// The absolute path with every link, "." and ".." resolved; nothing when it does not exist.
[[nodiscard]] std::optional<std::string> resolvedPath(const std::string& path);

// mkdir -p; an existing folder is success.
std::error_code createDirectories(const std::string& path, unsigned mode = 0755);

}  // namespace tw
