#include "support/permissions.h"

#include <linux/capability.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>

#include "support/fake_home.h"

namespace tw::test {
namespace {

constexpr int couldNotDrop = 77;

bool dropPermissionOverrides() {
  if (::geteuid() != 0) return true;
  constexpr int overrides[] = {CAP_DAC_OVERRIDE, CAP_DAC_READ_SEARCH};
  // The bounding set decides what a root child gets on exec; the thread's own sets decide
  // what this process may do from now on.
  for (const int capability : overrides) {
    if (::prctl(PR_CAPBSET_DROP, capability, 0, 0, 0) != 0) return false;
  }
  __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
  __user_cap_data_struct data[2]{};
  if (::syscall(SYS_capget, &header, data) != 0) return false;
  for (const int capability : overrides) {
    const unsigned bit = 1u << (capability % 32);
    auto& slot = data[capability / 32];
    slot.effective &= ~bit;
    slot.permitted &= ~bit;
    slot.inheritable &= ~bit;
  }
  return ::syscall(SYS_capset, &header, data) == 0;
}

}  // namespace

std::optional<std::string> withFilePermissionsEnforced(const std::function<std::string()>& body) {
  int channel[2];
  if (::pipe(channel) != 0) return std::nullopt;
  const pid_t child = ::fork();
  if (child == 0) {
    ::close(channel[0]);
    if (!dropPermissionOverrides()) ::_exit(couldNotDrop);
    const std::string text = body();
    for (std::size_t written = 0; written < text.size();) {
      const ssize_t count = ::write(channel[1], text.data() + written, text.size() - written);
      if (count <= 0) ::_exit(1);
      written += static_cast<std::size_t>(count);
    }
    ::_exit(0);
  }
  ::close(channel[1]);
  std::string text;
  char buffer[4096];
  for (;;) {
    const ssize_t count = ::read(channel[0], buffer, sizeof buffer);
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) break;
    text.append(buffer, static_cast<std::size_t>(count));
  }
  ::close(channel[0]);
  int status = 0;
  while (::waitpid(child, &status, 0) < 0 && errno == EINTR) {
  }
  if (WIFEXITED(status) && WEXITSTATUS(status) == couldNotDrop) return std::nullopt;
  return text;
}

ImmutableFolder::ImmutableFolder(std::string path) : path_(std::move(path)) {
  const RunResult result = runProcess({"chattr", "+i", path_});
  ok_ = result.code == 0;
  reason_ = result.err;
}

ImmutableFolder::~ImmutableFolder() {
  if (ok_) (void)runProcess({"chattr", "-i", path_});
}

}  // namespace tw::test
