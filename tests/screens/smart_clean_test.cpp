#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <set>
#include <stop_token>
#include <string>

#include "core/action_description.h"
#include "core/removal_service.h"
#include "fs/path.h"
#include "junk/junk_fake_home.h"
#include "junk/junk_model.h"
#include "junk/junk_scan.h"
#include "screens/screen_fixtures.h"
#include "screens/smart_clean.h"
#include "support/fake_home.h"

namespace tw::test {
namespace {

const DevGroup* groupWithId(const ProviderResult& result, const std::string& id) {
  for (const auto& group : result.groups) {
    if (group->id == id) return group.get();
  }
  return nullptr;
}

std::set<std::string> difference(const std::set<std::string>& before, const std::set<std::string>& after) {
  std::set<std::string> gone;
  std::set_difference(before.begin(), before.end(), after.begin(), after.end(), std::inserter(gone, gone.end()));
  return gone;
}

TEST(SmartCleanScreen, ShowsEveryCategoryThatFoundSomethingAsTheJunkScanMeasuredIt) {
  FakeHome home;
  const JunkHome layout = makeLinuxJunkHome(home);
  const ProviderResult result = SmartClean::load(home.context());
  const JunkCategories categories = JunkModel::makeCategories(home.context());
  (void)scanJunk(categories);

  EXPECT_FALSE(result.note.has_value());
  std::vector<std::string> groupIds, expectedIds;
  for (const auto& group : result.groups) groupIds.push_back(group->id);
  for (const auto& category : categories) {
    if (!category->items().empty()) expectedIds.push_back(category->id);
  }
  EXPECT_EQ(groupIds, expectedIds) << "catalogue order, empty categories left out";

  for (const auto& category : categories) {
    const DevGroup* group = groupWithId(result, category->id);
    if (!group) continue;
    EXPECT_EQ(group->title, category->title);
    EXPECT_EQ(group->subtitle, category->detail);
    ASSERT_EQ(group->items().size(), category->items().size()) << category->id;
    std::set<std::string> offered;
    for (std::size_t row = 0; row < group->items().size(); ++row) {
      const DevItem& item = group->items()[row];
      const JunkItem& junk = category->items()[row];
      EXPECT_EQ(item.id, junk.path);
      EXPECT_EQ(item.name, lastPathComponent(junk.path));
      EXPECT_EQ(item.size, junk.size) << junk.path;
      EXPECT_EQ(item.freeable, junk.size) << junk.path;
      EXPECT_EQ(item.selected, category->id != "installers") << junk.path;
      EXPECT_EQ(item.detail.empty(), category->id == "trash") << junk.path;
      offered.insert(junk.path.substr(home.path().size() + 1));
    }
    EXPECT_EQ(offered, layout.offered.at(category->id)) << category->id;
  }
  ASSERT_NE(groupWithId(result, "installers"), nullptr);
}

TEST(SmartCleanScreen, AHomeWithoutJunkShowsTheNoteAndAStoppedLoadShowsNothing) {
  FakeHome home;
  home.folder(".cache/empty");
  const ProviderResult empty = SmartClean::load(home.context());
  EXPECT_TRUE(empty.groups.empty());
  EXPECT_EQ(empty.note, SmartClean::nothingFoundNote);

  makeLinuxJunkHome(home);
  std::stop_source stop;
  stop.request_stop();
  const ProviderResult stopped = SmartClean::load(home.context().withStop(stop.get_token()));
  EXPECT_TRUE(stopped.groups.empty());
  EXPECT_FALSE(stopped.note.has_value()) << "a stopped scan found nothing only because it stopped";
}

TEST(SmartCleanScreen, AnItemsActionRemovesExactlyItsPathAndNothingReplacedSinceTheScan) {
  FakeHome home;
  makeLinuxJunkHome(home);
  const ProviderResult result = SmartClean::load(home.context());
  const DevItem& pip = itemWithId(result, home / ".cache/pip");
  const DevItem& shaders = itemWithId(result, home / ".cache/mesa_shader_cache");
  ASSERT_TRUE(pip.selected);
  // The confirmation says what will happen in the same words as everywhere else.
  EXPECT_EQ(describe(pip.action, home.path()), "delete ~/.cache/pip");
  const std::set<std::string> before = treeSnapshot(home.path());

  const RemovalReport removed = runRemovals(home.context(), {RemovalItem::of(pip)});
  ASSERT_EQ(removed.outcomes.size(), 1u);
  EXPECT_EQ(removed.outcomes[0].status, ActionOutcome::Status::done) << removed.outcomes[0].reason;
  EXPECT_EQ(removed.freed, *pip.freeable);
  EXPECT_EQ(difference(before, treeSnapshot(home.path())),
            (std::set<std::string>{".cache/pip", ".cache/pip/http", ".cache/pip/http/wheel"}));

  removeTree(home / ".cache/mesa_shader_cache");
  writeFile(home / ".cache/mesa_shader_cache", "not what was measured");
  const RemovalReport refused = runRemovals(home.context(), {RemovalItem::of(shaders)});
  EXPECT_EQ(refused.outcomes[0].status, ActionOutcome::Status::failed);
  EXPECT_EQ(readFile(home / ".cache/mesa_shader_cache"), "not what was measured");
}

}  // namespace
}  // namespace tw::test
