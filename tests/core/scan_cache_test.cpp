#include <gtest/gtest.h>

#include <chrono>

#include "core/app_paths.h"
#include "core/dev_pane.h"
#include "core/scan_cache.h"
#include "core/settings.h"
#include "support/fake_home.h"

namespace tw {
namespace {

using namespace std::chrono_literals;

DevItem itemOf(const std::string& id, std::optional<std::int64_t> freeable) {
  DevItem item;
  item.id = id;
  item.name = id;
  item.freeable = freeable;
  return item;
}

ProviderResult twoGroups(const Context&) {
  auto first = std::make_shared<DevGroup>("a", "A", "", "folder");
  first->setItems({itemOf("a1", 300), itemOf("a2", 200)});
  auto second = std::make_shared<DevGroup>("b", "B", "", "folder");
  second->setItems({itemOf("b1", std::nullopt)});
  return {{first, second}, std::nullopt};
}

TEST(ScanCache, TwoSavesForOneKeyKeepTheSecondAndAnnounceTwice) {
  test::FakeHome home;
  const Context context = home.context();
  int notices = 0;
  (void)ScanCache::observe(context, [&] { ++notices; });

  const Date first = dateFromSeconds(1'790'000'000);
  ScanCache::save(context, "projects", 1000, 3, first);
  ScanCache::save(context, "projects", 2500, 7, first + 60s);
  ScanCache::save(context, "docker", 42, 1, first);

  const auto entries = ScanCache::all(context);
  ASSERT_EQ(entries.size(), 2u);
  EXPECT_EQ(entries.at("projects"), (ScanCache::Entry{2500, 7, first + 60s}));
  EXPECT_EQ(entries.at("docker").bytes, 42);
  EXPECT_EQ(notices, 3);
}

TEST(ScanCache, IsStoredInTheSettingsFileWithDatesCountedFrom2001) {
  test::FakeHome home;
  const Context context = home.context();
  // 2026-08-02T09:41:07.5Z: 1,785,663,667.5 s after 1970, 807,356,467.5 s after 2001.
  const Date saved = dateFromSeconds(1'785'663'667) + 500ms;
  ScanCache::save(context, "git", 123'456'789'012, 12, saved);

  const auto file = nlohmann::json::parse(test::readFile(settingsFilePath(context)));
  const auto& entry = file.at("scanCache").at("git");
  EXPECT_EQ(entry.at("bytes"), 123'456'789'012);
  EXPECT_EQ(entry.at("items"), 12);
  EXPECT_DOUBLE_EQ(entry.at("date").get<double>(), 807'356'467.5);

  // A second process (a fresh store on the same file) reads the same entry back.
  Context other = context;
  other.settings = std::make_shared<Settings>(settingsFilePath(context));
  EXPECT_EQ(ScanCache::all(other).at("git"), (ScanCache::Entry{123'456'789'012, 12, saved}));
}

TEST(ScanCache, AMissingOrUnreadableValueReadsAsEmptyAndTheNextSaveReplacesIt) {
  test::FakeHome home;
  const Context context = home.context();
  EXPECT_TRUE(ScanCache::all(context).empty());
  for (const auto& damaged : {nlohmann::json("text"), nlohmann::json::array({1, 2}),
                              nlohmann::json{{"git", {{"bytes", "many"}, {"items", 1}, {"date", 0.0}}}},
                              nlohmann::json{{"git", {{"bytes", 1}, {"items", 1}}}}}) {
    context.settings->set(ScanCache::settingsKey, damaged);
    EXPECT_TRUE(ScanCache::all(context).empty()) << damaged.dump();
  }
  ScanCache::save(context, "trash", 5, 1);
  EXPECT_EQ(ScanCache::all(context).size(), 1u);
}

TEST(ScanCache, AnotherProcessWritingTheCacheIsAnnouncedToo) {
  test::FakeHome home;
  const Context context = home.context();
  ScanCache::save(context, "git", 1, 1);
  int notices = 0;
  (void)ScanCache::observe(context, [&] { ++notices; });

  Context other = context;
  other.settings = std::make_shared<Settings>(settingsFilePath(context));
  ScanCache::save(other, "docker", 9, 2);
  context.settings->refresh();
  EXPECT_EQ(notices, 1);
  EXPECT_EQ(ScanCache::all(context).size(), 2u);
}

TEST(ScanCache, InSampleDataModeItLivesInMemoryOnly) {
  test::FakeHome home;
  Environment env = Context::processEnvironment();
  env["TIDEWARDEN_SNAPSHOT"] = "1";
  const Context context = Context::fromEnvironment(env);
  ASSERT_TRUE(context.sampleData);
  context.settings->set("menuBarEnabled", false);  // the file exists; the cache stays out of it
  int notices = 0;
  (void)ScanCache::observe(context, [&] { ++notices; });

  ScanCache::save(context, "projects", 77, 2);
  EXPECT_EQ(ScanCache::all(context).at("projects").bytes, 77);
  EXPECT_EQ(notices, 1);
  const auto file = nlohmann::json::parse(test::readFile(settingsFilePath(context)));
  EXPECT_FALSE(file.contains(ScanCache::settingsKey));
  // Nor does a cache the file already holds show through.
  Context real = home.context();
  ScanCache::save(real, "docker", 5, 1);
  EXPECT_FALSE(ScanCache::all(context).contains("docker"));
}

TEST(ScanCache, APaneWithACacheKeySavesItsTotalAndItemCountAfterEveryLoad) {
  test::FakeHome home;
  const Context context = home.context();
  QueueDispatcher queue;
  int notices = 0;
  (void)ScanCache::observe(context, [&] { ++notices; });

  auto cached = DevPane::make(twoGroups, "projects", queue.dispatcher(), context);
  auto uncached = DevPane::make(twoGroups, std::nullopt, queue.dispatcher(), context);
  int finished = 0;
  cached->load([&] { ++finished; });
  uncached->load([&] { ++finished; });
  ASSERT_TRUE(queue.runUntil([&] { return finished == 2; }, 10s));

  const auto entries = ScanCache::all(context);
  ASSERT_EQ(entries.size(), 1u);
  EXPECT_EQ(entries.at("projects").bytes, 500);  // freeable, an unknown value counting as 0
  EXPECT_EQ(entries.at("projects").items, 3);
  EXPECT_EQ(notices, 1);

  // A refresh saves again, and the stale filter decides what is counted.
  cached->setStaleOnly(true);
  cached->load([&] { ++finished; });
  ASSERT_TRUE(queue.runUntil([&] { return finished == 3; }, 10s));
  EXPECT_EQ(ScanCache::all(context).at("projects").bytes, 0);
  EXPECT_EQ(ScanCache::all(context).at("projects").items, 0);
  EXPECT_EQ(notices, 2);
}

}  // namespace
}  // namespace tw
