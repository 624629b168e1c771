#pragma once

#include <string>
#include <utility>
#include <vector>

namespace tw::test {

// What a stand-in tool answers when its arguments, joined by spaces, match `arguments`
// (a shell case pattern: "list --all", "uninstall --unused *").
struct Reply {
  Reply(std::string arguments, std::string out, int code = 0, std::string err = "")
      : arguments(std::move(arguments)), out(std::move(out)), code(code), err(std::move(err)) {}

  std::string arguments;
  std::string out;
  int code = 0;
  std::string err;
};

// Writes a stand-in for a system tool at `path`: a shell script that appends each call's
// arguments, joined by spaces, as one line to `path` + ".calls", and prints the recorded
// output of the first reply that matches. Any other call fails with status 64.
std::string writeStandInTool(const std::string& path, const std::vector<Reply>& replies);

// The calls a stand-in recorded, one line each, in order.
[[nodiscard]] std::vector<std::string> standInCalls(const std::string& path);

// A stand-in pkexec in `binFolder`: it counts its calls, records its arguments (each ended
// by a NUL in <binFolder>/pkexec.args) and runs the program as the caller without a
// prompt, or ends with status 126 as a dismissed prompt does when <binFolder>/pkexec.deny
// exists.
std::string writeStandInPkexec(const std::string& binFolder);

// The arguments of the stand-in pkexec's last call.
[[nodiscard]] std::vector<std::string> standInPkexecArguments(const std::string& binFolder);

}  // namespace tw::test
