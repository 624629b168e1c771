#include <string>
#include <vector>

#include "cli/cli.h"
#include "cli/window.h"
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
  const auto context = tw::Context::fromEnvironment(tw::Context::processEnvironment());
  if (startedByDesktop(arguments)) return tw::openWindow(argc, argv, context);
  return tw::CLI::run(arguments, context);
}
