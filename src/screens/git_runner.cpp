#include "screens/git_runner.h"

#include <set>

#include "core/text.h"

namespace tw {
namespace {

constexpr double configTimeout = 30;

// The names of the filter drivers that the folder's configuration defines.
std::set<std::string> filterDrivers(const std::string& git, const std::string& folder, const Context& context) {
  const auto listed =
      Shell::run(git, {"-C", folder, "config", "--name-only", "--get-regexp", "^filter\\."}, configTimeout, context);
  std::set<std::string> drivers;
  for (const auto& key : splitLines(listed.out)) {
    // filter.<driver>.<setting>, where the driver's name may itself hold dots.
    const auto last = key.rfind('.');
    if (key.starts_with("filter.") && last != std::string::npos && last > 7) drivers.insert(key.substr(7, last - 7));
  }
  return drivers;
}

}  // namespace

Shell::Result runGit(const std::string& git, const std::string& folder, const std::vector<std::string>& arguments,
                     double timeout, const Context& context) {
  std::vector<std::string> command;
  for (const auto& driver : filterDrivers(git, folder, context)) {
    for (const char* program : {"clean", "smudge", "process"}) {
      command.insert(command.end(), {"-c", "filter." + driver + "." + program + "="});
    }
  }
  command.insert(command.end(), {"-C", folder});
  command.insert(command.end(), arguments.begin(), arguments.end());
  return Shell::run(git, command, timeout, context);
}

}  // namespace tw
