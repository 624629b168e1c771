#include "support/stand_in_tools.h"

#include "support/fake_home.h"

namespace tw::test {
namespace {

std::vector<std::string> lines(const std::string& text, char end) {
  std::vector<std::string> found;
  std::size_t start = 0;
  for (std::size_t stop = text.find(end); stop != std::string::npos; stop = text.find(end, start)) {
    found.push_back(text.substr(start, stop - start));
    start = stop + 1;
  }
  return found;
}

// A case pattern keeps its wildcards; its spaces must not end the word.
std::string withEscapedSpaces(const std::string& pattern) {
  std::string escaped;
  for (const char c : pattern) {
    if (c == ' ') escaped += '\\';
    escaped += c;
  }
  return escaped;
}

}  // namespace

std::string writeStandInTool(const std::string& path, const std::vector<Reply>& replies) {
  std::string script =
      "#!/bin/sh\n"
      "printf '%s\\n' \"$*\" >> \"$0.calls\"\n"
      "case \"$*\" in\n";
  for (const auto& reply : replies) {
    script += "  " + withEscapedSpaces(reply.arguments) + ")\n";
    script += "    cat <<'TW_RECORDED_OUTPUT'\n" + reply.out + "\nTW_RECORDED_OUTPUT\n";
    if (!reply.err.empty()) script += "    cat >&2 <<'TW_RECORDED_ERRORS'\n" + reply.err + "\nTW_RECORDED_ERRORS\n";
    script += "    exit " + std::to_string(reply.code) + " ;;\n";
  }
  script +=
      "esac\n"
      "echo \"stand-in: unexpected arguments: $*\" >&2\n"
      "exit 64\n";
  return writeExecutable(path, script);
}

std::vector<std::string> standInCalls(const std::string& path) {
  return exists(path + ".calls") ? lines(readFile(path + ".calls"), '\n') : std::vector<std::string>{};
}

std::string writeStandInPkexec(const std::string& binFolder) {
  return writeExecutable(binFolder + "/pkexec",
                         "#!/bin/sh\n"
                         "echo call >> \"$0.calls\"\n"
                         "for word do printf '%s\\0' \"$word\"; done > \"$0.args\"\n"
                         "[ -e \"$0.deny\" ] && exit 126\n"
                         "exec \"$@\"\n");
}

std::vector<std::string> standInPkexecArguments(const std::string& binFolder) {
  const std::string path = binFolder + "/pkexec.args";
  return exists(path) ? lines(readFile(path), '\0') : std::vector<std::string>{};
}

}  // namespace tw::test
