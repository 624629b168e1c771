#include "junk/junk_model.h"

#include <memory>

#include "junk/junk_finders.h"

namespace tw {
namespace {

// The tests run the real binary on Linux against a fake macOS home, so the table can be
// picked by name: TIDEWARDEN_JUNK_TABLE=macos or =linux. Any other value, or none, means
// the platform's own table. Nothing but the catalogue reads it.
const JunkTable& chosenTable(const Context& context) {
  if (const JunkTable* table = junkTableNamed(context.variable("TIDEWARDEN_JUNK_TABLE"))) return *table;
  return platformJunkTable();
}

}  // namespace

JunkCategories JunkModel::makeCategories(const Context& context) {
  return makeCategories(chosenTable(context), JunkRoots::of(context));
}

JunkCategories JunkModel::makeCategories(const JunkTable& table, const JunkRoots& roots) {
  JunkCategories categories;
  for (const auto& row : table.rows) {
    // A category with nowhere to look on this platform could only ever show "0 bytes".
    if (row.sources.empty()) continue;
    auto finder = [sources = row.sources, roots](std::stop_token stop) {
      return JunkFinders::find(sources, roots, std::move(stop));
    };
    categories.push_back(std::make_shared<JunkCategory>(row.id, row.title, row.detail, row.icon, row.defaultSelected,
                                                        std::move(finder)));
  }
  return categories;
}

}  // namespace tw
