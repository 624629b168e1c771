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

AdminResult runShellAsAdministrator(const std::string& script, const std::vector<std::string>& arguments,
                                    const Context& context) {
  const auto pkexec = Shell::which("pkexec", context);
  if (!pkexec) return {AdminResult::Status::unavailable, "", ""};
  std::vector<std::string> command{"/bin/sh", "-c", script};
  command.insert(command.end(), arguments.begin(), arguments.end());
  auto result = Shell::run(*pkexec, command, adminTimeout, context);
  if (result.code == 0) return {AdminResult::Status::done, "", std::move(result.out)};
  std::string message = trimmed(result.err);
  if (result.code == pkexecNotAuthorized || message.empty()) {
    return {AdminResult::Status::cancelled, "", std::move(result.out)};
  }
  return {AdminResult::Status::failed, std::move(message), std::move(result.out)};
}

}  // namespace tw
