#include "fs/path.h"

#include <algorithm>
#include <cctype>
#include <vector>

namespace tw {

std::string standardizePath(std::string_view path) {
  const bool absolute = !path.empty() && path.front() == '/';
  std::vector<std::string_view> pieces;
  while (!path.empty()) {
    const std::size_t slash = path.find('/');
    const std::string_view piece = path.substr(0, slash);
    if (piece == "..") {
      if (!pieces.empty() && pieces.back() != "..") {
        pieces.pop_back();
      } else if (!absolute) {
        pieces.push_back(piece);
      }
    } else if (!piece.empty() && piece != ".") {
      pieces.push_back(piece);
    }
    if (slash == std::string_view::npos) break;
    path.remove_prefix(slash + 1);
  }
  std::string result = absolute ? "/" : "";
  for (std::size_t i = 0; i < pieces.size(); ++i) {
    if (i > 0) result += '/';
    result += pieces[i];
  }
  if (result.empty()) return ".";
  return result;
}

bool hasDotOrEmptyPiece(std::string_view relative) {
  for (std::size_t start = 0; start <= relative.size();) {
    const std::size_t slash = std::min(relative.find('/', start), relative.size());
    const std::string_view piece = relative.substr(start, slash - start);
    if (piece.empty() || piece == "." || piece == "..") return true;
    start = slash + 1;
  }
  return false;
}

std::string lastPathComponent(std::string_view path) {
  while (path.size() > 1 && path.back() == '/') path.remove_suffix(1);
  if (path == "/") return "/";
  const std::size_t slash = path.rfind('/');
  return std::string(slash == std::string_view::npos ? path : path.substr(slash + 1));
}

std::string parentPath(std::string_view path) {
  while (path.size() > 1 && path.back() == '/') path.remove_suffix(1);
  const std::size_t slash = path.rfind('/');
  if (slash == std::string_view::npos) return ".";
  if (slash == 0) return "/";
  return std::string(path.substr(0, slash));
}

std::string pathExtension(std::string_view name) {
  const std::size_t dot = name.rfind('.');
  if (dot == std::string_view::npos) return "";
  std::string extension(name.substr(dot + 1));
  std::transform(extension.begin(), extension.end(), extension.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return extension;
}

std::string joinPath(std::string_view parent, std::string_view name) {
  std::string result(parent);
  if (result.empty() || result.back() != '/') result += '/';
  result += name;
  return result;
}

std::string tildePath(std::string_view path, std::string_view home) {
  if (path == home) return "~";
  if (home != "/" && path.starts_with(home) && path.size() > home.size() && path[home.size()] == '/') {
    return "~" + std::string(path.substr(home.size()));
  }
  return std::string(path);
}

}  // namespace tw
