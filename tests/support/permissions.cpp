#include "support/permissions.h"

#include <linux/capability.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "support/fake_home.h"

namespace tw::test {

bool enforceFilePermissions() {
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

ImmutableFolder::ImmutableFolder(std::string path) : path_(std::move(path)) {
  const RunResult result = runProcess({"chattr", "+i", path_});
  ok_ = result.code == 0;
  reason_ = result.err;
}

ImmutableFolder::~ImmutableFolder() {
  if (ok_) (void)runProcess({"chattr", "-i", path_});
}

}  // namespace tw::test
