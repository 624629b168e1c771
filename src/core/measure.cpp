#include "core/measure.h"

#include <algorithm>

#include "core/concurrent.h"
#include "core/sizes.h"

namespace tw {

std::vector<Usage> measure(const std::vector<std::vector<std::string>>& groups, std::stop_token stop) {
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
  concurrentPerform(
      work.size(), [&](std::size_t index) { measured[index] = usageOf(*work[index].path, stop); }, stop);
  std::vector<Usage> results(groups.size());
  for (std::size_t index = 0; index < work.size(); ++index) {
    Usage& total = results[work[index].group];
    total.size = saturatingAdd(total.size, measured[index].size);
    total.freeable = saturatingAdd(total.freeable, measured[index].freeable);
  }
  return results;
}

std::map<std::string, Usage> measure(const std::vector<std::string>& paths, std::stop_token stop) {
  std::vector<std::string> distinct = paths;
  std::sort(distinct.begin(), distinct.end());
  distinct.erase(std::unique(distinct.begin(), distinct.end()), distinct.end());
  std::vector<Usage> measured(distinct.size());
  concurrentPerform(
      distinct.size(), [&](std::size_t index) { measured[index] = usageOf(distinct[index], stop); }, stop);
  std::map<std::string, Usage> results;
  for (std::size_t index = 0; index < distinct.size(); ++index) results.emplace(distinct[index], measured[index]);
  return results;
}

}  // namespace tw
