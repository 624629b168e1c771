#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "core/format.h"
#include "dedupe/dedupe.h"
#include "dedupe_fixtures.h"
#include "support/fake_home.h"
#include "support/loop_volume.h"

namespace tw::test {
namespace {

constexpr std::int64_t MiB = 1 << 20;
constexpr const char* cannotShare =
    "This volume can't share file data between copies (it needs Btrfs or XFS with reflink, or APFS).";

std::optional<std::string> run(const DevItem& item) { return std::get<DevAction::Custom>(item.action.value).run(); }

TEST(DedupeScreen, ListsEachSetWithTheKeptFileAndItsCopiesLargestSavingsFirst) {
  FakeHome home;
  const std::string small = randomBytes(50'000, 41);
  const std::string large = randomBytes(400'000, 42);
  put(home / "p/one/small.dat", small);
  put(home / "p/two/small.dat", small);
  const auto kept = put(home / "p/a/large.dat", large);
  const auto copy1 = put(home / "p/b/large.dat", large);
  const auto copy2 = put(home / "p/c/large-copy.dat", large);
  setProjectRoots({home / "p"});

  const ProviderResult result = Dedupe::load();

  ASSERT_EQ(result.groups.size(), 2u);
  const DevGroup& first = *result.groups[0];
  EXPECT_EQ(first.id, kept);
  EXPECT_EQ(first.title, "large.dat");
  EXPECT_EQ(first.subtitle, "~/p/a/large.dat");
  ASSERT_EQ(first.items().size(), 2u);
  EXPECT_EQ(first.items()[0].id, copy1);
  EXPECT_EQ(first.items()[0].name, "~/p/b/large.dat");
  EXPECT_EQ(first.items()[1].id, copy2);
  const auto sets = Dedupe::scan({home / "p"});
  for (const auto& item : first.items()) {
    EXPECT_EQ(item.size, sets[0].alloc);
    EXPECT_EQ(item.freeable, sets[0].alloc);
    EXPECT_EQ(item.restoreHint, "Nothing is deleted: every copy stays in place and shares its data");
  }
  EXPECT_EQ(first.total(), 2 * sets[0].alloc);
  EXPECT_EQ(result.groups[1]->title, "small.dat");
  EXPECT_GT(first.total(), result.groups[1]->total());
}

TEST(DedupeScreen, OnAVolumeThatCannotShareTheSetsAreShownButNothingIsPreselected) {
  FakeHome home;
  const std::string data = randomBytes(100'000, 43);
  const auto kept = put(home / "p/x.bin", data);
  const auto copy = put(home / "p/y.bin", data);
  setProjectRoots({home / "p"});

  const ProviderResult result = Dedupe::load();

  EXPECT_EQ(result.note, cannotShare);
  ASSERT_EQ(result.groups.size(), 1u);
  ASSERT_EQ(result.groups[0]->items().size(), 1u);
  const DevItem& item = result.groups[0]->items()[0];
  EXPECT_FALSE(item.selected);
  EXPECT_EQ(run(item), "y.bin: volume doesn't support clones");
  EXPECT_EQ(readFile(copy), data);

  const auto listed = runTidewarden({"dedupe", "--json"});
  ASSERT_EQ(listed.code, 0) << listed.err;
  const auto json = nlohmann::json::parse(listed.out);
  EXPECT_EQ(json["note"], cannotShare);
  EXPECT_EQ(json["selected"], 0);
  (void)kept;
}

TEST(DedupeScreen, SaysSoWhenThereIsNothingToShare) {
  FakeHome home;
  put(home / "p/unique.bin", randomBytes(100'000, 44));
  setProjectRoots({home / "p"});

  const ProviderResult result = Dedupe::load();

  EXPECT_TRUE(result.groups.empty());
  EXPECT_EQ(result.note, "No identical files of 32 KB or more in your project folders.");
}

class DedupeScreenOnXfs : public ::testing::Test {
 protected:
  void SetUp() override {
    volume_ = LoopVolume::mount(LoopVolume::Kind::xfsReflink, 400 * MiB, whyNot_);
    if (!volume_) GTEST_SKIP() << whyNot_;
    setProjectRoots({volume_->path()});
  }
  [[nodiscard]] std::string on(const std::string& relative) const { return volume_->path() + "/" + relative; }

  FakeHome home_;
  std::string whyNot_;
  std::unique_ptr<LoopVolume> volume_;
};

TEST_F(DedupeScreenOnXfs, PreselectsEveryCopyAndARescanAfterSharingOffersNothing) {
  const std::string data = randomBytes(6 * MiB, 45);
  const auto kept = put(on("app/assets/video.mp4"), data);
  put(on("app-copy/assets/video.mp4"), data);
  put(on("old/video.mp4"), data);

  const ProviderResult before = Dedupe::load();
  EXPECT_EQ(before.note, std::nullopt);
  ASSERT_EQ(before.groups.size(), 1u);
  ASSERT_EQ(before.groups[0]->items().size(), 2u);
  for (const auto& item : before.groups[0]->items()) {
    EXPECT_TRUE(item.selected);
    EXPECT_EQ(run(item), std::nullopt);
    EXPECT_TRUE(sameBlocks(kept, item.id));
    EXPECT_EQ(readFile(item.id), data);
  }

  const ProviderResult after = Dedupe::load();
  EXPECT_TRUE(after.groups.empty());
}

TEST_F(DedupeScreenOnXfs, CleaningFromTheCommandLineSharesEveryCopyAndReturnsTheSpace) {
  const std::string first = randomBytes(8 * MiB, 46);
  const std::string second = randomBytes(3 * MiB + 17, 47);
  for (const char* folder : {"a", "b", "c"}) put(on(std::string(folder) + "/first.bin"), first);
  for (const char* folder : {"a", "d"}) put(on(std::string(folder) + "/second.bin"), second);
  const std::int64_t freeBefore = volume_->freeBytes();

  const auto preview = runTidewarden({"dedupe", "clean", "--selected", "--json"});
  EXPECT_EQ(preview.code, 1) << preview.err;
  EXPECT_EQ(volume_->freeBytes(), freeBefore);
  const auto cleaned = runTidewarden({"dedupe", "clean", "--selected", "--yes", "--json"});
  ASSERT_EQ(cleaned.code, 0) << cleaned.out << cleaned.err;
  const auto json = nlohmann::json::parse(cleaned.out);
  EXPECT_EQ(json["done"], 3);
  EXPECT_GE(json["freed"].get<std::int64_t>(), 2 * 8 * MiB + 3 * MiB);

  EXPECT_GE(volume_->freeBytes() - freeBefore, 2 * 8 * MiB + 3 * MiB);
  EXPECT_TRUE(sameBlocks(on("a/first.bin"), on("c/first.bin")));
  EXPECT_TRUE(sameBlocks(on("a/second.bin"), on("d/second.bin")));
  EXPECT_EQ(readFile(on("b/first.bin")), first);
  const auto rescan = nlohmann::json::parse(runTidewarden({"dedupe", "--json"}).out);
  EXPECT_TRUE(rescan["groups"].empty());
}

TEST_F(DedupeScreenOnXfs, WithRootsOnTwoVolumesOnlyTheSetsThatCannotShareCarryTheNote) {
  const std::string shareable = randomBytes(2 * MiB, 48);
  put(on("x/data.bin"), shareable);
  put(on("y/data.bin"), shareable);
  const std::string stuck = randomBytes(MiB, 49);
  put(home_ / "p/one.bin", stuck);
  put(home_ / "p/two.bin", stuck);
  setProjectRoots({volume_->path(), home_ / "p"});

  const ProviderResult result = Dedupe::load();

  EXPECT_EQ(result.note, cannotShare);
  ASSERT_EQ(result.groups.size(), 2u);
  EXPECT_EQ(result.groups[0]->title, "data.bin");
  EXPECT_EQ(result.groups[0]->note(), std::nullopt);
  EXPECT_TRUE(result.groups[0]->items()[0].selected);
  EXPECT_EQ(result.groups[1]->title, "one.bin");
  EXPECT_EQ(result.groups[1]->note(), cannotShare);
  EXPECT_FALSE(result.groups[1]->items()[0].selected);
}

}  // namespace
}  // namespace tw::test
