#include <unistd.h>
#include <semaphore>
#include <thread>

#include "cli/cli.h"
#include "core/text.h"

namespace tw::CLI {
namespace {

constexpr const char* frames[] = {"⠋", "⠙", "⠹", "⠸", "⠼", "⠴", "⠦", "⠧", "⠇", "⠏"};

}  // namespace

std::string spinnerLine(std::size_t iteration, const std::string& message, const std::function<std::string()>& status) {
  std::string line = std::string(frames[iteration % 10]) + " " + message;
  if (status) line += " " + status();
  // Names in the message or the status must not move the cursor or reorder the line.
  line = terminalText(line);
  if (characterCount(line) >= 101) line = firstCharacters(line, 99) + "…";
  return line;
}

void Flag::set() {
  std::lock_guard lock(mutex_);
  done_ = true;
}

bool Flag::isSet() const {
  std::lock_guard lock(mutex_);
  return done_;
}

void spin(bool quiet, std::function<std::string()> status, const std::string& message,
          const std::function<void()>& work) {
  if (quiet || ::isatty(STDERR_FILENO) == 0) {
    work();
    return;
  }
  Flag done;
  std::binary_semaphore erased{0};
  std::thread spinner([&] {
    for (std::size_t iteration = 0;; ++iteration) {
      const std::string line = "\r\x1b[K" + spinnerLine(iteration, message, status);
      std::fwrite(line.data(), 1, line.size(), stderr);
      std::fflush(stderr);
      std::this_thread::sleep_for(std::chrono::milliseconds(100));
      if (done.isSet()) break;
    }
    std::fputs("\r\x1b[K", stderr);
    std::fflush(stderr);
    erased.release();
  });
  try {
    work();
  } catch (...) {
    done.set();
    erased.acquire();
    spinner.join();
    throw;
  }
  done.set();
  erased.acquire();
  spinner.join();
}

}  // namespace tw::CLI
