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

std::optional<std::string> runAsAdministrator(const std::string& command) {
  const auto pkexec = Shell::which("pkexec");
  if (!pkexec) return "Administrator actions need pkexec (policykit), which isn't installed.";
  const auto result = Shell::run(*pkexec, {"/bin/sh", "-c", command}, adminTimeout);
  if (result.code == 0) return std::nullopt;
  const std::string message = trimmed(result.err);
  if (result.code == pkexecNotAuthorized || message.empty()) return "Cancelled";
  return message;
}

}  // namespace tw
