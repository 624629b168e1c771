#include "junk/junk_scan.h"

#include <algorithm>
#include <cstdint>
#include <functional>
#include <optional>
#include <vector>

#include "core/concurrent.h"
#include "fs/usage.h"

namespace tw {
namespace {

struct Measured {
  std::int64_t size = 0;
  std::optional<FileIdentity> identity;
};

void perform(JunkScanMode mode, std::size_t count, const std::function<void(std::size_t)>& body,
             const std::stop_token& stop) {
  if (mode == JunkScanMode::concurrent) {
    concurrentPerform(count, body, stop);
  } else {
    for (std::size_t index = 0; index < count && !stop.stop_requested(); ++index) body(index);
  }
}

}  // namespace

JunkScanResult scanJunk(const JunkCategories& categories, JunkScanMode mode, std::stop_token stop) {
  // Each task writes only its own slot, so no locking is needed and the order is kept.
  std::vector<JunkFinding> findings(categories.size());
  perform(
      mode, categories.size(), [&](std::size_t index) { findings[index] = categories[index]->finder(stop); }, stop);

  // One pass over the paths of all categories, so a category with many paths does not
  // hold up the others.
  std::vector<const std::string*> paths;
  for (const auto& finding : findings) {
    for (const auto& path : finding.paths) paths.push_back(&path);
  }
  std::vector<Measured> measured(paths.size());
  perform(
      mode, paths.size(),
      [&](std::size_t index) {
        // The identity is read first: if the path is swapped afterwards, the removal sees a
        // different object and leaves it alone.
        measured[index].identity = identityOfPath(*paths[index]);
        measured[index].size = usageOf(*paths[index], stop).size;
      },
      stop);

  JunkScanResult result;
  std::size_t slot = 0;
  for (std::size_t index = 0; index < categories.size(); ++index) {
    JunkCategory& category = *categories[index];
    std::vector<JunkItem> items;
    for (const auto& path : findings[index].paths) {
      const Measured& found = measured[slot++];
      if (found.size <= 0 || !found.identity) continue;
      items.push_back({path, found.size, category.defaultSelected});
      result.identities.emplace(path, *found.identity);
    }
    std::stable_sort(items.begin(), items.end(), [](const auto& a, const auto& b) { return a.size > b.size; });
    category.setItems(std::move(items));
    category.setNote(findings[index].note);
  }
  return result;
}

}  // namespace tw
