#pragma once

#include <sys/types.h>

#include <cstdint>
#include <set>
#include <string>
#include <vector>

#include "dedupe/dedupe.h"

namespace tw::test {

// Reproducible pseudo-random bytes: the same seed gives the same content.
[[nodiscard]] std::string randomBytes(std::int64_t size, std::uint64_t seed);

// Writes `contents` to `path` (making its folders) and returns the path.
std::string put(const std::string& path, const std::string& contents);

// The scan's sets as sets of paths, order left aside.
[[nodiscard]] std::set<std::vector<std::string>> pathSets(const std::vector<Dedupe::DupSet>& sets);

void setProjectRoots(const std::vector<std::string>& roots);

// A child process that keeps a file open as its standard input until it is destroyed.
class HeldOpen {
 public:
  explicit HeldOpen(const std::string& path);
  ~HeldOpen();
  HeldOpen(const HeldOpen&) = delete;
  HeldOpen& operator=(const HeldOpen&) = delete;

 private:
  pid_t pid_ = -1;
};

}  // namespace tw::test
