#include "core/measure.h"

#include <algorithm>

#include "core/concurrent.h"
#include "lens/disk_scanner.h"

namespace tw {

std::vector<Usage> measure(const std::vector<std::vector<std::string>>& groups) {
  // One parallel iteration per path, not per group, so one big group does not hold up the rest.
  struct Work {
    std::size_t group;
    const std::string* path;
  };
  std::vector<Work> work;
  for (std::size_t group = 0; group < groups.size(); ++group) {
    for (const auto& path : groups[group]) work.push_back({group, &path});
  }
  std::vector<Usage> measured(work.size());  // each slot written by one iteration only
  concurrentPerform(work.size(), [&](std::size_t index) {
    const auto [size, freeable] = DiskScanner::usage(*work[index].path);
    measured[index] = {size, freeable};
  });
  std::vector<Usage> results(groups.size());
  for (std::size_t index = 0; index < work.size(); ++index) {
    results[work[index].group].size += measured[index].size;
    results[work[index].group].freeable += measured[index].freeable;
  }
  return results;
}

std::map<std::string, Usage> measure(const std::vector<std::string>& paths) {
  std::vector<std::string> distinct = paths;
  std::sort(distinct.begin(), distinct.end());
  distinct.erase(std::unique(distinct.begin(), distinct.end()), distinct.end());
  std::vector<Usage> measured(distinct.size());
  concurrentPerform(distinct.size(), [&](std::size_t index) {
    const auto [size, freeable] = DiskScanner::usage(distinct[index]);
    measured[index] = {size, freeable};
  });
  std::map<std::string, Usage> results;
  for (std::size_t index = 0; index < distinct.size(); ++index) results.emplace(distinct[index], measured[index]);
  return results;
}

}  // namespace tw
