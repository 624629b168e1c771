#include "screens/location_path.h"

#include "fs/path.h"

namespace tw {

std::optional<std::string> folderFromEnvironment(const Environment& env, const std::string& name,
                                                 const std::string& home) {
  const auto found = env.find(name);
  if (found == env.end() || found->second.empty()) return std::nullopt;
  std::string value = found->second;
  if (value == "~") return home;
  if (value.starts_with("~/")) value = home + value.substr(1);
  if (!value.starts_with('/')) return std::nullopt;
  return standardizePath(value);
}

std::optional<std::string> resolveLocation(const std::string& pattern, const std::string& home,
                                           const Environment& env) {
  if (pattern == "~") return home;
  if (pattern.starts_with("~/")) return joinPath(home, pattern.substr(2));
  if (!pattern.starts_with('$')) return pattern;
  const std::size_t slash = pattern.find('/');
  const std::string variable = pattern.substr(1, slash == std::string::npos ? std::string::npos : slash - 1);
  const auto folder = folderFromEnvironment(env, variable, home);
  if (!folder) return std::nullopt;
  return slash == std::string::npos ? *folder : joinPath(*folder, pattern.substr(slash + 1));
}

}  // namespace tw
