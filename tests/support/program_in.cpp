#include "support/program_in.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include "fs/file_io.h"

extern char** environ;

namespace tw::test {

ProgramIn::ProgramIn(const std::string& folder) {
  const char* argv[] = {"/bin/sh", "-c", "cd \"$1\" && exec sleep 30", "sh", folder.c_str(), nullptr};
  EXPECT_EQ(::posix_spawn(&pid_, "/bin/sh", nullptr, nullptr, const_cast<char**>(argv), environ), 0);
  // Wait until it is really there.
  const std::string cwd = "/proc/" + std::to_string(pid_) + "/cwd";
  for (int attempt = 0; attempt < 200 && resolvedPath(cwd) != resolvedPath(folder); ++attempt) ::usleep(10'000);
}

ProgramIn::~ProgramIn() {
  ::kill(pid_, SIGTERM);
  ::waitpid(pid_, nullptr, 0);
}

}  // namespace tw::test
