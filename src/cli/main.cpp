#include <cstdio>
#include <string>
#include <vector>

#include "cli/cli.h"
#include "core/context.h"

namespace {

// The desktop launcher and the UI framework pass words like these; they mean "open the
// window", never a command.
bool startedByDesktop(const std::vector<std::string>& arguments) {
  if (arguments.empty()) return true;
  const std::string& first = arguments.front();
  return first.starts_with("-psn") || first.starts_with("-NS") || first.starts_with("-Apple");
}

}  // namespace

int main(int argc, char** argv) {
  std::vector<std::string> arguments(argv + 1, argv + argc);
  if (startedByDesktop(arguments)) {
    std::fputs("tidewarden: the windowed app is not in this build; run 'tidewarden help' for the commands\n", stderr);
    return 1;
  }
  return tw::CLI::run(arguments, tw::Context::fromEnvironment(tw::Context::processEnvironment()));
}
