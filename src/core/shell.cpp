#include "core/shell.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>

#include "core/home.h"
#include "core/shell_environment.h"
#include "core/shell_tools.h"

extern char** environ;

namespace tw {

const std::vector<std::string>& Shell::searchPaths() {
  static const std::vector<std::string> paths = [] {
    const std::string home = homeDirectory();
    return std::vector<std::string>{"/opt/homebrew/bin",  "/usr/local/bin", home + "/.cargo/bin",
                                    home + "/.local/bin", "/usr/bin",       "/bin"};
  }();
  return paths;
}

std::optional<std::string> Shell::which(const std::string& name) {
  if (name.empty() || name.find('/') != std::string::npos) return std::nullopt;
  for (const auto& folder : searchPaths()) {
    const std::string candidate = folder + "/" + name;
    struct stat info {};
    if (::stat(candidate.c_str(), &info) != 0 || !S_ISREG(info.st_mode)) continue;
    if (::access(candidate.c_str(), X_OK) != 0) continue;
    if (!toolRunsWithoutInstallerPrompt(candidate)) return std::nullopt;
    return candidate;
  }
  return std::nullopt;
}

std::string childPathValue() {
  std::string value;
  for (const auto& folder : Shell::searchPaths()) value += folder + ":";
  if (const char* inherited = std::getenv("PATH")) value += inherited;
  return value;
}

std::vector<std::string> childEnvironment() {
  std::vector<std::string> entries;
  for (char** entry = environ; entry != nullptr && *entry != nullptr; ++entry) {
    if (std::strncmp(*entry, "PATH=", 5) == 0 || std::strncmp(*entry, "GIT_TERMINAL_PROMPT=", 20) == 0) continue;
    entries.emplace_back(*entry);
  }
  entries.push_back("PATH=" + childPathValue());
  entries.emplace_back("GIT_TERMINAL_PROMPT=0");
  return entries;
}

}  // namespace tw
