#include "core/admin_batch.h"

#include <charconv>

#include "core/privileged.h"
#include "core/text.h"
#include "core/uuid.h"

namespace tw {
namespace {

// Runs every argument after the mark as one command and frames what it wrote to standard
// error between two lines carrying the mark, the closing one with its exit status. The
// mark is fresh for each call, so no command can forge another's frame. The commands are
// arguments, not part of the script, so each may be as long as one argument may be.
constexpr const char* driver =
    "mark=$1; shift\n"
    "for command do\n"
    "  printf '%s begin\\n' \"$mark\"\n"
    "  (eval \"$command\") 2>&1 >/dev/null\n"
    "  printf '\\n%s end %d\\n' \"$mark\" \"$?\"\n"
    "done\n";

struct Framed {
  std::string errors;
  int status = 0;
};

// The frames in the order the commands ran; fewer than the commands when the call was
// stopped part way.
std::vector<Framed> readFrames(const std::string& output, const std::string& mark) {
  const std::string begin = mark + " begin\n";
  const std::string end = "\n" + mark + " end ";
  std::vector<Framed> frames;
  std::size_t position = 0;
  for (;;) {
    const std::size_t opened = output.find(begin, position);
    if (opened == std::string::npos) break;
    const std::size_t start = opened + begin.size();
    const std::size_t closed = output.find(end, start);
    if (closed == std::string::npos) break;
    const std::size_t number = closed + end.size();
    const std::size_t lineEnd = output.find('\n', number);
    if (lineEnd == std::string::npos) break;
    Framed frame{output.substr(start, closed - start), 0};
    const auto parsed = std::from_chars(output.data() + number, output.data() + lineEnd, frame.status);
    if (parsed.ec != std::errc{}) frame.status = 1;
    frames.push_back(std::move(frame));
    position = lineEnd + 1;
  }
  return frames;
}

std::string firstWord(const std::string& command) {
  const std::string text = trimmed(command);
  const std::size_t space = text.find_first_of(" \t");
  return text.substr(0, space);
}

// What a command that left no frame gets: the call as a whole did not run it.
ActionOutcome notRun(const AdminResult& run, const Context& context) {
  if (context.stopRequested()) return ActionOutcome::cancellation();
  switch (run.status) {
    case AdminResult::Status::cancelled:
      return ActionOutcome::cancellation();
    case AdminResult::Status::unavailable:
      return ActionOutcome::failure("Administrator actions need pkexec (policykit), which isn't installed.");
    case AdminResult::Status::failed:
      return ActionOutcome::failure(run.detail);
    case AdminResult::Status::done:
      break;
  }
  return ActionOutcome::failure("Didn't run");
}

}  // namespace

std::vector<ActionOutcome> runAllAsAdministrator(const std::vector<std::string>& commands, const Context& context) {
  if (commands.empty()) return {};
  if (context.stopRequested()) return std::vector<ActionOutcome>(commands.size(), ActionOutcome::cancellation());
  const std::string mark = "tidewarden-" + makeUuid();
  std::vector<std::string> arguments{"tidewarden", mark};
  arguments.insert(arguments.end(), commands.begin(), commands.end());
  const AdminResult run = runShellAsAdministrator(driver, arguments, context);
  const auto frames = readFrames(run.output, mark);

  std::vector<ActionOutcome> outcomes;
  outcomes.reserve(commands.size());
  for (std::size_t index = 0; index < commands.size(); ++index) {
    if (index >= frames.size()) {
      outcomes.push_back(notRun(run, context));
    } else if (frames[index].status == 0) {
      outcomes.push_back(ActionOutcome::success());
    } else {
      std::string message = trimmed(frames[index].errors);
      outcomes.push_back(ActionOutcome::failure(message.empty() ? firstWord(commands[index]) + " failed" : message));
    }
  }
  return outcomes;
}

}  // namespace tw
