#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <set>

#include "core/history.h"
#include "support/fake_home.h"

namespace tw::test {
namespace {

constexpr int processes = 20;
constexpr int recordsEach = 15;

TEST(HistoryAcrossProcesses, TwentyProcessesRecordingAtOnceLoseNothing) {
  TempFolder folder("tw-history-safety");
  std::vector<pid_t> children;
  for (int process = 0; process < processes; ++process) {
    const pid_t child = ::fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
      History history(folder.path(), true);
      for (int i = 0; i < recordsEach; ++i) {
        history.record("Developer", "p" + std::to_string(process) + "-" + std::to_string(i), 100, std::nullopt);
      }
      ::_exit(0);
    }
    children.push_back(child);
  }
  for (const pid_t child : children) {
    int status = 0;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
  }

  std::set<std::string> names;
  for (const auto& entry : History(folder.path(), true).entries()) names.insert(entry.name);
  EXPECT_EQ(names.size(), static_cast<std::size_t>(processes * recordsEach));
}

}  // namespace
}  // namespace tw::test
