#include <string>

#include "core/privileged.h"
#include "core/shell.h"
#include "core/text.h"

namespace tw {
namespace {

// The password prompt may sit unanswered for a long while.
constexpr double adminTimeout = 1800;
// pkexec's own status when the user dismissed the prompt or was not allowed.
constexpr int pkexecNotAuthorized = 126;

// pkexec asks for the password through the desktop's polkit agent, or else through its
// own agent on the controlling terminal (a tool started from a terminal keeps it). With
// neither it can only refuse; what it prints then is no help to someone who never saw a
// prompt, so it gets a sentence that says what to do.
bool noPasswordPrompt(const std::string& message) {
  return message.find("No authentication agent found") != std::string::npos ||
         message.find("textual authentication agent") != std::string::npos;
}

constexpr const char* noPromptAdvice =
    "No password prompt could be shown. Run it again from a terminal, where pkexec asks for the password, or "
    "from a desktop session with a polkit authentication agent.";

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
  if (result.code == pkexecNotAuthorized) return {AdminResult::Status::cancelled, "", std::move(result.out)};
  if (noPasswordPrompt(message)) message = noPromptAdvice;
  // Ending any other way is a failure, also without a word from pkexec: a "Cancelled"
  // here would hide that nobody was ever asked.
  if (message.empty()) message = "pkexec ended with status " + std::to_string(result.code) + " without saying why.";
  return {AdminResult::Status::failed, std::move(message), std::move(result.out)};
}

}  // namespace tw
