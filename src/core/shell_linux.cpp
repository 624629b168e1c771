#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/eventfd.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <optional>
#include <stop_token>

#include "core/shell.h"
#include "core/shell_environment.h"
#include "core/text.h"
#include "fs/unique_fd.h"

namespace tw {
namespace {

using Clock = std::chrono::steady_clock;

// A timed-out child that has exited may have left a background process holding our pipes
// open; read what is already there for this long, then stop waiting for the end.
constexpr auto orphanedPipeGrace = std::chrono::milliseconds(500);
// Without a process descriptor, how often to look whether the child has exited.
constexpr auto exitCheckInterval = std::chrono::milliseconds(50);

std::error_code lastError() { return {errno, std::generic_category()}; }

struct Pipe {
  UniqueFd read;
  UniqueFd write;
};

std::error_code makePipe(Pipe& pipe) {
  int fds[2];
  if (::pipe2(fds, O_CLOEXEC) != 0) return lastError();
  pipe.read.reset(fds[0]);
  pipe.write.reset(fds[1]);
  // Only our end is non-blocking; the child writes as usual.
  if (::fcntl(pipe.read.get(), F_SETFL, O_NONBLOCK) != 0) return lastError();
  return {};
}

class SpawnSetup {
 public:
  SpawnSetup() {
    posix_spawn_file_actions_init(&actions_);
    posix_spawnattr_init(&attributes_);
  }
  ~SpawnSetup() {
    posix_spawn_file_actions_destroy(&actions_);
    posix_spawnattr_destroy(&attributes_);
  }
  SpawnSetup(const SpawnSetup&) = delete;
  SpawnSetup& operator=(const SpawnSetup&) = delete;

  int prepare(int outWrite, int errWrite) {
    if (int error = posix_spawn_file_actions_addopen(&actions_, 0, "/dev/null", O_RDONLY, 0)) return error;
    if (int error = posix_spawn_file_actions_adddup2(&actions_, outWrite, 1)) return error;
    if (int error = posix_spawn_file_actions_adddup2(&actions_, errWrite, 2)) return error;
    // Descriptors that some library opened without close-on-exec stay with us.
    if (int error = posix_spawn_file_actions_addclosefrom_np(&actions_, 3)) return error;
    // The child starts with no blocked signals and default handlers, whatever we ignore
    // (a tool killed by SIGPIPE should die of it, and SIGTERM must reach it).
    sigset_t none, all;
    sigemptyset(&none);
    sigfillset(&all);
    if (int error = posix_spawnattr_setsigmask(&attributes_, &none)) return error;
    if (int error = posix_spawnattr_setsigdefault(&attributes_, &all)) return error;
    return posix_spawnattr_setflags(&attributes_, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
  }

  const posix_spawn_file_actions_t* actions() const { return &actions_; }
  const posix_spawnattr_t* attributes() const { return &attributes_; }

 private:
  posix_spawn_file_actions_t actions_;
  posix_spawnattr_t attributes_;
};

std::vector<char*> nullTerminated(std::vector<std::string>& strings) {
  std::vector<char*> pointers;
  pointers.reserve(strings.size() + 1);
  for (auto& text : strings) pointers.push_back(text.data());
  pointers.push_back(nullptr);
  return pointers;
}

// Reads whatever is waiting; closes the descriptor at the end of the stream.
void readAvailable(UniqueFd& fd, std::string& into) {
  char buffer[65536];
  for (;;) {
    const ssize_t count = ::read(fd.get(), buffer, sizeof buffer);
    if (count > 0) {
      into.append(buffer, static_cast<std::size_t>(count));
      continue;
    }
    if (count < 0 && errno == EINTR) continue;
    if (count < 0 && (errno == EAGAIN || errno == EWOULDBLOCK)) return;
    fd.reset();  // end of stream, or an error that ends it
    return;
  }
}

// A descriptor that becomes readable when a stop is requested, so the poll below wakes.
class StopWatch {
 public:
  explicit StopWatch(std::stop_token token) : stop_(std::move(token)) {
    if (!stop_.stop_possible()) return;
    fd_.reset(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK));
    if (fd_) callback_.emplace(stop_, Wake{fd_.get()});
  }
  [[nodiscard]] bool requested() const { return stop_.stop_requested(); }
  [[nodiscard]] const UniqueFd& fd() const { return fd_; }

 private:
  struct Wake {
    int fd;
    void operator()() const {
      const std::uint64_t one = 1;
      (void)!::write(fd, &one, sizeof one);
    }
  };
  std::stop_token stop_;
  UniqueFd fd_;
  std::optional<std::stop_callback<Wake>> callback_;
};

bool hasExited(pid_t pid) {
  siginfo_t info{};
  return ::waitid(P_PID, static_cast<id_t>(pid), &info, WEXITED | WNOHANG | WNOWAIT) == 0 && info.si_pid == pid;
}

int millisecondsUntil(Clock::time_point when, Clock::time_point now) {
  if (when <= now) return 0;
  const auto wait = std::chrono::ceil<std::chrono::milliseconds>(when - now).count();
  return static_cast<int>(std::min<long long>(wait, 60'000));
}

// Drains both pipes together (a child blocked on a full pipe would never exit) until both
// end and the child has exited, sending SIGTERM once the deadline passes or a stop is
// requested. A terminated
// child's pipes may be kept open by something it started; then we stop shortly after it
// is gone. The child is not reaped here, so its pid cannot be reused while we signal it.
void superviseChild(pid_t pid, UniqueFd& out, UniqueFd& err, Clock::time_point deadline, const StopWatch& stop,
                    std::string& outText, std::string& errText) {
  UniqueFd exitWatch{static_cast<int>(::syscall(SYS_pidfd_open, pid, 0))};
  bool terminated = false;
  bool exited = false;
  std::optional<Clock::time_point> stopAt;
  while (out || err || !exited) {
    const auto now = Clock::now();
    if (!terminated && (now >= deadline || stop.requested())) {
      ::kill(pid, SIGTERM);
      terminated = true;
    }
    if (terminated && exited && !stopAt) stopAt = now + orphanedPipeGrace;
    if (stopAt && now >= *stopAt) break;

    int wait = -1;
    const auto consider = [&](int milliseconds) { wait = wait < 0 ? milliseconds : std::min(wait, milliseconds); };
    if (!terminated) consider(millisecondsUntil(deadline, now));
    if (stopAt) consider(millisecondsUntil(*stopAt, now));
    if (!exitWatch && !exited) consider(static_cast<int>(exitCheckInterval.count()));

    pollfd watched[4];
    nfds_t count = 0;
    const auto watch = [&](const UniqueFd& fd) {
      if (fd) watched[count++] = {fd.get(), POLLIN, 0};
    };
    watch(out);
    watch(err);
    if (exitWatch && !exited) watch(exitWatch);
    if (!terminated) watch(stop.fd());
    if (::poll(watched, count, wait) < 0 && errno != EINTR) break;

    if (out) readAvailable(out, outText);
    if (err) readAvailable(err, errText);
    if (!exited) exited = hasExited(pid);
  }
}

int terminationStatus(int status) {
  if (WIFEXITED(status)) return WEXITSTATUS(status);
  if (WIFSIGNALED(status)) return WTERMSIG(status);
  return status;
}

}  // namespace

Shell::Result Shell::run(const std::string& executable, const std::vector<std::string>& arguments, double timeout,
                         const Context& context) {
  Result result;
  const auto launchFailure = [&](std::error_code error) {
    result.code = -1;
    result.err = "Couldn't launch " + executable + ": " + error.message();
    return result;
  };

  Pipe out, err;
  if (auto error = makePipe(out)) return launchFailure(error);
  if (auto error = makePipe(err)) return launchFailure(error);
  SpawnSetup setup;
  if (int error = setup.prepare(out.write.get(), err.write.get())) {
    return launchFailure({error, std::generic_category()});
  }

  std::vector<std::string> argv{executable};
  argv.insert(argv.end(), arguments.begin(), arguments.end());
  std::vector<std::string> environment = childEnvironment(context);
  auto argvPointers = nullTerminated(argv);
  auto environmentPointers = nullTerminated(environment);

  const auto started = Clock::now();
  pid_t pid = 0;
  if (int error = ::posix_spawn(&pid, executable.c_str(), setup.actions(), setup.attributes(), argvPointers.data(),
                                environmentPointers.data())) {
    return launchFailure({error, std::generic_category()});
  }
  // Only the child may hold the write ends, or the reads would never see the end.
  out.write.reset();
  err.write.reset();

  // Far enough away to mean "never" without overflowing the clock.
  const double seconds = std::clamp(timeout, 0.0, 365.0 * 24 * 3600);
  const auto deadline = started + std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(seconds));
  std::string outBytes, errBytes;
  const StopWatch stop(context.stop);
  superviseChild(pid, out.read, err.read, deadline, stop, outBytes, errBytes);

  int status = 0;
  while (::waitpid(pid, &status, 0) < 0 && errno == EINTR) {
  }
  result.code = terminationStatus(status);
  result.out = validUtf8(outBytes);
  result.err = validUtf8(errBytes);
  return result;
}

}  // namespace tw
