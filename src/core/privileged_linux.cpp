#include "core/privileged.h"
#include "core/shell.h"
#include "core/text.h"

namespace tw {
namespace {

// The password prompt may sit unanswered for a long while.
constexpr double adminTimeout = 1800;
// pkexec's own status when the user dismissed the prompt or was not allowed.
constexpr int pkexecNotAuthorized = 126;

}  // namespace

PrivilegedRun runShellAsAdministrator(const std::string& script, const std::vector<std::string>& arguments) {
  const auto pkexec = Shell::which("pkexec");
  if (!pkexec) return {"", "Administrator actions need pkexec (policykit), which isn't installed."};
  std::vector<std::string> command{"/bin/sh", "-c", script};
  command.insert(command.end(), arguments.begin(), arguments.end());
  auto result = Shell::run(*pkexec, command, adminTimeout);
  if (result.code == 0) return {std::move(result.out), std::nullopt};
  const std::string message = trimmed(result.err);
  if (result.code == pkexecNotAuthorized || message.empty()) return {std::move(result.out), "Cancelled"};
  return {std::move(result.out), message};
}

}  // namespace tw
