#pragma once

#include <sys/types.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "dedupe/dedupe.h"
#include "support/fake_home.h"
#include "support/loop_volume.h"

namespace tw::test {

constexpr std::int64_t MiB = 1 << 20;

// Reproducible pseudo-random bytes: the same seed gives the same content.
[[nodiscard]] std::string randomBytes(std::int64_t size, std::uint64_t seed);

// Writes `contents` to `path` (making its folders) and returns the path.
std::string put(const std::string& path, const std::string& contents);

// Writes the same bytes to every path; the paths come back as given.
std::vector<std::string> copies(const std::string& contents, const std::vector<std::string>& paths);

// The scan's sets as sets of paths, order left aside.
[[nodiscard]] std::set<std::vector<std::string>> pathSets(const std::vector<Dedupe::DupSet>& sets);

void setProjectRoots(const FakeHome& home, const std::vector<std::string>& roots);

// A child process that keeps a file open as its standard input until it is destroyed.
class HeldOpen {
 public:
  explicit HeldOpen(const std::string& path);
  ~HeldOpen();
  HeldOpen(const HeldOpen&) = delete;
  HeldOpen& operator=(const HeldOpen&) = delete;

  // A process that is running already and opens the file only when told to.
  struct Later {};
  HeldOpen(const std::string& path, Later);
  // Tells it to open the file and waits until it holds it.
  void open();

 private:
  void waitUntilHeld() const;

  std::string path_;
  pid_t pid_ = -1;
  int go_ = -1;  // the write end of the child's standard input, while it waits
};

// A test on a fresh XFS volume that can share blocks, with a fake home beside it;
// skipped with the reason when the volume cannot be mounted here.
class OnXfs : public ::testing::Test {
 protected:
  void SetUp() override {
    volume_ = LoopVolume::mount(LoopVolume::Kind::xfsReflink, 400 * MiB, whyNot_);
    if (!volume_) GTEST_SKIP() << whyNot_;
  }
  [[nodiscard]] std::string on(const std::string& relative) const { return volume_->path() + "/" + relative; }

  FakeHome home_;
  std::string whyNot_;
  std::unique_ptr<LoopVolume> volume_;
};

}  // namespace tw::test
