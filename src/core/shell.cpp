#include "core/shell.h"

#include <sys/stat.h>
#include <unistd.h>

#include "core/shell_environment.h"
#include "core/shell_tools.h"

namespace tw {

std::vector<std::string> Shell::searchPaths(const std::string& home) {
  return {"/opt/homebrew/bin", "/usr/local/bin", home + "/.cargo/bin", home + "/.local/bin", "/usr/bin", "/bin"};
}

std::optional<std::string> Shell::which(const std::string& name, const Context& context) {
  if (name.empty() || name.find('/') != std::string::npos) return std::nullopt;
  for (const auto& folder : searchPaths(context.home)) {
    const std::string candidate = folder + "/" + name;
    struct stat info {};
    if (::stat(candidate.c_str(), &info) != 0 || !S_ISREG(info.st_mode)) continue;
    if (::access(candidate.c_str(), X_OK) != 0) continue;
    if (!toolRunsWithoutInstallerPrompt(candidate, context)) return std::nullopt;
    return candidate;
  }
  return std::nullopt;
}

std::string childPathValue(const Context& context) {
  std::string value;
  for (const auto& folder : Shell::searchPaths(context.home)) value += folder + ":";
  if (const auto inherited = context.env.find("PATH"); inherited != context.env.end()) value += inherited->second;
  return value;
}

std::vector<std::string> childEnvironment(const Context& context) {
  std::vector<std::string> entries;
  for (const auto& [name, value] : context.env) {
    if (name == "PATH" || name == "GIT_TERMINAL_PROMPT") continue;
    entries.push_back(name + "=" + value);
  }
  entries.push_back("PATH=" + childPathValue(context));
  entries.emplace_back("GIT_TERMINAL_PROMPT=0");
  return entries;
}

}  // namespace tw
