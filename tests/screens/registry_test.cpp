#include <gtest/gtest.h>

#include <set>

#include "core/dispatcher.h"
#include "core/platform_words.h"
#include "screens/registry.h"
#include "support/fake_home.h"

namespace tw {
namespace {

std::vector<std::string> rawValues(const std::vector<DevScreen>& screens) {
  std::vector<std::string> names;
  for (const auto& screen : screens) names.emplace_back(rawValue(screen.pane));
  return names;
}

TEST(Panes, SeventeenDestinationsWithTheirCommandLineNames) {
  std::vector<std::string> names;
  for (Pane pane : allPanes()) names.emplace_back(rawValue(pane));
  EXPECT_EQ(names, (std::vector<std::string>{"overview", "clean", "lens", "trash", "large", "apps", "system",
                                             "projects", "worktrees", "git", "simulators", "toolchains", "ide",
                                             "docker", "ai", "dedupe", "history"}));
  for (Pane pane : allPanes()) EXPECT_EQ(paneNamed(rawValue(pane)), pane);
  EXPECT_FALSE(paneNamed("Projects").has_value());
}

TEST(Screens, ThirteenScreensInTableOrderWithGitBetweenDockerAndAi) {
  EXPECT_EQ(rawValues(Screens::all()),
            (std::vector<std::string>{"clean", "large", "apps", "system", "projects", "worktrees", "simulators",
                                      "toolchains", "ide", "docker", "git", "ai", "dedupe"}));
  for (Pane pane : {Pane::overview, Pane::lens, Pane::trash, Pane::history}) {
    EXPECT_EQ(Screens::screen(pane), nullptr) << rawValue(pane);
  }
}

TEST(Screens, TablesCarryTheirTitlesBarsAndJunkFlags) {
  const DevScreen* projects = Screens::screen(Pane::projects);
  ASSERT_NE(projects, nullptr);
  EXPECT_EQ(projects->title, "Projects");
  EXPECT_EQ(projects->action, "Delete Leftovers");
  EXPECT_EQ(projects->bar, DevScreen::Bar::rootsAdvisor);
  EXPECT_TRUE(projects->junk);
  const DevScreen* dedupe = Screens::screen(Pane::dedupe);
  EXPECT_EQ(dedupe->title, "Clone Dedupe");
  EXPECT_EQ(dedupe->bar, DevScreen::Bar::rootsNoFilter);
  EXPECT_FALSE(dedupe->junk);
  // The platform's own words: the Mac's "System Data" is not what a Linux system keeps.
  EXPECT_EQ(Screens::screen(Pane::system)->blurb, platformWords().systemDataBlurb);
  EXPECT_EQ(Screens::screen(Pane::git)->icon, "externaldrive.badge.timemachine");
  std::set<std::string> titles;
  for (const auto& screen : Screens::all()) {
    EXPECT_FALSE(screen.blurb.empty());
    titles.insert(screen.title);
  }
  EXPECT_EQ(titles.size(), 13u);
}

TEST(Screens, PanesAreBuiltEmptyWithTheirCacheKeys) {
  QueueDispatcher queue;
  const auto panes = Screens::makePanes(queue.dispatcher(), Context{});
  ASSERT_EQ(panes.size(), 13u);
  for (const auto& [pane, model] : panes) {
    EXPECT_EQ(model->cacheKey(), std::string(rawValue(pane)));
    EXPECT_FALSE(model->loaded());
    EXPECT_FALSE(model->loading());
    EXPECT_TRUE(model->groups().empty());
    EXPECT_EQ(model->scanTime(), 0);
  }
}

TEST(SampleData, EveryScreenShowsDemonstrationGroupsWithoutTouchingTheDisk) {
  // A home that does not exist: any provider reading the disk would find nothing.
  const Context context =
      Context::fromEnvironment({{"HOME", "/nonexistent/tidewarden-sample-home"}, {"TIDEWARDEN_SNAPSHOT", "1"}});
  ASSERT_TRUE(context.sampleData);
  int selected = 0, unselected = 0;
  for (const auto& screen : Screens::all()) {
    const ProviderResult result = Screens::effectiveProvider(screen)(context);
    ASSERT_FALSE(result.groups.empty()) << screen.title;
    for (const auto& group : result.groups) {
      for (const auto& item : group->items()) {
        EXPECT_GT(item.size.value_or(0), 0);
        ++(item.selected ? selected : unselected);
        // Sample actions never reach the file system.
        EXPECT_TRUE(std::holds_alternative<DevAction::Custom>(item.action.value));
        EXPECT_TRUE(item.action.perform(context).succeeded());
      }
    }
  }
  EXPECT_GT(selected, 5);
  EXPECT_GT(unselected, 5);
}

}  // namespace
}  // namespace tw
