#include <dlfcn.h>
#include <unistd.h>

#include <cstdio>
#include <optional>
#include <string>

#include "cli/window.h"
#include "cli/window_module.h"
#include "core/loaded_library.h"
#include "core/program_path.h"
#include "fs/path.h"

namespace tw {
namespace {

// Beside the program in a build tree; in the library folder of the prefix once installed.
std::optional<std::string> windowModulePath() {
  const std::string program = currentProgramPath();
  if (program.empty()) return std::nullopt;
  const std::string folder = parentPath(program);
  for (const std::string& candidate :
       {joinPath(folder, TIDEWARDEN_WINDOW_MODULE), joinPath(folder, TIDEWARDEN_INSTALLED_WINDOW_MODULE)}) {
    if (::access(candidate.c_str(), F_OK) == 0) return candidate;
  }
  return std::nullopt;
}

TidewardenOpenWindow loadWindowModule(std::string& error) {
  const auto path = windowModulePath();
  if (!path) {
    error = std::string(TIDEWARDEN_WINDOW_MODULE) + " is not installed";
    return nullptr;
  }
  void* module = ::dlopen(path->c_str(), RTLD_NOW | RTLD_LOCAL);
  if (!module) {
    error = ::dlerror();
    return nullptr;
  }
  TidewardenOpenWindow entry = nullptr;
  if (!resolveSymbol(module, windowModuleEntry, entry)) error = *path + " has no entry";
  return entry;
}

}  // namespace

int openWindow(int& argc, char** argv, const Context& context) {
  std::string error;
  const auto entry = loadWindowModule(error);
  if (!entry) {
    std::fprintf(stderr, "tidewarden: can't load the windowed app: %s; run 'tidewarden help' for the commands\n",
                 error.c_str());
    return 1;
  }
  // The module stays loaded until the process ends: the toolkit's exit handlers live in it.
  return entry(&argc, argv, &context);
}

}  // namespace tw
