#include "core/shell.h"

#include <sys/stat.h>
#include <unistd.h>

#include "core/shell_environment.h"
#include "core/shell_tools.h"

namespace tw {

std::vector<std::string> Shell::searchPaths(const std::string& home) {
  std::vector<std::string> folders{"/opt/homebrew/bin",  "/usr/local/bin", home + "/.cargo/bin",
                                   home + "/.local/bin", "/usr/bin",       "/bin"};
  for (auto& folder : platformToolFolders(home)) folders.push_back(std::move(folder));
  return folders;
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

namespace {

// Settings that switch off every program a repository's own configuration could make git
// start (a repository unpacked from an archive must run nothing of its own), handed to git
// through the environment so that they reach every git command, also the ones that other
// tools run. None of the commands we run shows a diff, so external diff drivers never
// start; filter drivers have free names, and the git runner of the screens turns off the
// ones a repository defines.
constexpr std::pair<const char*, const char*> gitSafetySettings[] = {
    {"core.fsmonitor", "false"},     {"core.hooksPath", "/dev/null"},
    {"core.pager", "cat"},           {"core.askPass", ""},
    {"core.sshCommand", "ssh"},      {"credential.helper", ""},
    {"protocol.ext.allow", "never"}, {"gc.auto", "0"},
    {"maintenance.auto", "false"},
};

bool replacedForChildren(const std::string& name) {
  return name == "PATH" || name.starts_with("GIT_CONFIG") || name == "GIT_TERMINAL_PROMPT" ||
         name == "GIT_OPTIONAL_LOCKS" || name == "GIT_PAGER" || name == "GIT_EXTERNAL_DIFF" || name == "GIT_ASKPASS" ||
         name == "GIT_SSH_COMMAND" || name == "GIT_SSH" || name == "GIT_PROXY_COMMAND";
}

}  // namespace

std::vector<std::string> childEnvironment(const Context& context) {
  std::vector<std::string> entries;
  for (const auto& [name, value] : context.env) {
    if (!replacedForChildren(name)) entries.push_back(name + "=" + value);
  }
  entries.push_back("PATH=" + childPathValue(context));
  entries.emplace_back("GIT_TERMINAL_PROMPT=0");
  entries.emplace_back("GIT_CONFIG_NOSYSTEM=1");
  entries.emplace_back("GIT_OPTIONAL_LOCKS=0");
  entries.emplace_back("GIT_PAGER=cat");
  std::size_t index = 0;
  for (const auto& [key, value] : gitSafetySettings) {
    entries.push_back("GIT_CONFIG_KEY_" + std::to_string(index) + "=" + key);
    entries.push_back("GIT_CONFIG_VALUE_" + std::to_string(index) + "=" + value);
    ++index;
  }
  entries.push_back("GIT_CONFIG_COUNT=" + std::to_string(index));
  return entries;
}

}  // namespace tw
