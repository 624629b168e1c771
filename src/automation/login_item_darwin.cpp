#include "automation/login_item.h"
#include "core/apple_script.h"
#include "core/program_path.h"
#include "fs/file_io.h"

namespace tw {

namespace {

// The login item is the app bundle that holds the program.
std::string bundleOf(const std::string& program) {
  const auto bundleEnd = program.find(".app/");
  return bundleEnd == std::string::npos ? program : program.substr(0, bundleEnd + 4);
}

}  // namespace

std::optional<std::string> registerLoginItem(const Context& context, bool on, const std::string& program) {
  const std::string bundle = bundleOf(program);
  const std::string script =
      on ? "tell application \"System Events\" to make login item at end with properties {path:\"" +
               appleScriptEscaped(bundle) + "\", hidden:false}"
         : "tell application \"System Events\" to delete (every login item whose path is \"" +
               appleScriptEscaped(bundle) + "\")";
  if (const auto error = runAppleScript(script, context)) {
    return error->message.empty() ? std::string("the system refused it") : error->message;
  }
  return std::nullopt;
}

bool loginItemRegistered(const Context& context) {
  const auto paths =
      runAppleScriptCapturing("tell application \"System Events\" to get the path of every login item", context);
  return !paths.error && paths.output.find(bundleOf(currentProgramPath())) != std::string::npos;
}

}  // namespace tw
