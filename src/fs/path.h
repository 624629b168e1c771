#pragma once

#include <string>
#include <string_view>

namespace tw {

// Resolves "." and ".." pieces and removes doubled and trailing slashes, without
// touching the disk. A ".." above the root of an absolute path stays at the root; in a
// relative path it is kept.
[[nodiscard]] std::string standardizePath(std::string_view path);

// True unless every piece between the slashes of a relative path is a plain name: an
// empty piece (a doubled, leading or trailing slash), "." or "..".
[[nodiscard]] bool hasDotOrEmptyPiece(std::string_view relative);

// "a/b/c" -> "c"; "/" -> "/".
[[nodiscard]] std::string lastPathComponent(std::string_view path);

// "a/b/c" -> "a/b"; "/a" -> "/".
[[nodiscard]] std::string parentPath(std::string_view path);

// The lower-cased text after the last dot of a name, or empty.
[[nodiscard]] std::string pathExtension(std::string_view name);

// parent + "/" + name, without doubling the slash under "/".
[[nodiscard]] std::string joinPath(std::string_view parent, std::string_view name);

// The home folder's prefix shown as "~".
[[nodiscard]] std::string tildePath(std::string_view path, std::string_view home);

}  // namespace tw
