#include "junk/junk_model.h"

#include <cstdlib>
#include <memory>

#include "junk/junk_finders.h"

namespace tw {
namespace {

// The tests run the real binary on Linux against a fake macOS home, so the table can be
// picked by name: TIDEWARDEN_JUNK_TABLE=macos or =linux. Any other value, or none, means
// the platform's own table. Nothing but the catalogue reads it.
const JunkTable& chosenTable() {
  if (const char* name = std::getenv("TIDEWARDEN_JUNK_TABLE"); name != nullptr) {
    if (const JunkTable* table = junkTableNamed(name)) return *table;
  }
  return platformJunkTable();
}

}  // namespace

JunkCategories JunkModel::makeCategories() { return makeCategories(chosenTable()); }

JunkCategories JunkModel::makeCategories(const JunkTable& table, const JunkRoots& roots) {
  JunkCategories categories;
  for (const auto& row : table.rows) {
    auto finder = [sources = row.sources, roots] { return JunkFinders::find(sources, roots); };
    categories.push_back(std::make_shared<JunkCategory>(row.id, row.title, row.detail, row.icon, row.defaultSelected,
                                                        std::move(finder)));
  }
  return categories;
}

}  // namespace tw
