#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "dedupe/dedupe.h"
#include "dedupe_fixtures.h"
#include "support/fake_home.h"
#include "support/loop_volume.h"

namespace tw::test {
namespace {

constexpr const char* cannotShare =
    "This volume can't share file data between copies (it needs Btrfs or XFS with reflink, or APFS).";

std::optional<std::string> run(const DevItem& item) { return std::get<DevAction::Custom>(item.action.value).run(); }

TEST(DedupeScreen, ListsEachSetWithTheKeptFileAndItsCopiesLargestSavingsFirst) {
  FakeHome home;
  const std::string small = randomBytes(50'000, 41);
  const std::string large = randomBytes(400'000, 42);
  copies(small, {home / "p/one/small.dat", home / "p/two/small.dat"});
  const auto kept = put(home / "p/a/large.dat", large);
  const auto copy1 = put(home / "p/b/large.dat", large);
  const auto copy2 = put(home / "p/c/large-copy.dat", large);
  setProjectRoots(home, {home / "p"});

  const ProviderResult result = Dedupe::load(home.context());

  ASSERT_EQ(result.groups.size(), 2u);
  const DevGroup& first = *result.groups[0];
  EXPECT_EQ(first.id, kept);
  EXPECT_EQ(first.title, "large.dat");
  EXPECT_EQ(first.subtitle, "~/p/a/large.dat");
  ASSERT_EQ(first.items().size(), 2u);
  EXPECT_EQ(first.items()[0].id, copy1);
  EXPECT_EQ(first.items()[0].name, "~/p/b/large.dat");
  EXPECT_EQ(first.items()[1].id, copy2);
  const auto sets = Dedupe::scan({home / "p"}, home.path());
  for (const auto& item : first.items()) {
    EXPECT_EQ(item.size, sets[0].alloc);
    EXPECT_EQ(item.freeable, sets[0].alloc);
    EXPECT_EQ(item.restoreHint, "Nothing is deleted: every copy stays in place and shares its data");
  }
  EXPECT_EQ(result.groups[1]->title, "small.dat");
  EXPECT_GT(first.total(), result.groups[1]->total());
}

TEST(DedupeScreen, OnAVolumeThatCannotShareTheSetsAreShownButNothingIsPreselected) {
  FakeHome home;
  const std::string data = randomBytes(100'000, 43);
  put(home / "p/x.bin", data);
  const auto copy = put(home / "p/y.bin", data);
  setProjectRoots(home, {home / "p"});

  const ProviderResult result = Dedupe::load(home.context());

  EXPECT_EQ(result.note, cannotShare);
  ASSERT_EQ(result.groups.size(), 1u);
  ASSERT_EQ(result.groups[0]->items().size(), 1u);
  const DevItem& item = result.groups[0]->items()[0];
  EXPECT_FALSE(item.selected);
  EXPECT_EQ(run(item), "y.bin: volume doesn't support clones");
  EXPECT_EQ(readFile(copy), data);
  const auto json = nlohmann::json::parse(runTidewarden({"dedupe", "--json"}).out);
  EXPECT_EQ(json["note"], cannotShare);
  EXPECT_EQ(json["selected"], 0);

  ::unlink(copy.c_str());
  const ProviderResult nothing = Dedupe::load(home.context());
  EXPECT_TRUE(nothing.groups.empty());
  EXPECT_EQ(nothing.note, "No identical files of 32 KB or more in your project folders.");
}

class DedupeScreenOnXfs : public OnXfs {
 protected:
  void SetUp() override {
    OnXfs::SetUp();
    if (volume_) setProjectRoots(home_, {volume_->path()});
  }
};

// Every copy is pre-selected, so cleaning the selection shares them all; a rescan then
// offers nothing, since the shared copies no longer take space of their own.
TEST_F(DedupeScreenOnXfs, CleaningTheSelectionSharesEveryCopyReturnsTheSpaceAndARescanOffersNothing) {
  const std::string first = randomBytes(8 * MiB, 46);
  const std::string second = randomBytes(3 * MiB + 17, 47);
  for (const char* folder : {"a", "b", "c"}) put(on(std::string(folder) + "/first.bin"), first);
  for (const char* folder : {"a", "d"}) put(on(std::string(folder) + "/second.bin"), second);
  const std::int64_t freeBefore = volume_->freeBytes();
  EXPECT_TRUE(nlohmann::json::parse(runTidewarden({"dedupe", "--json"}).out)["note"].is_null());

  const auto preview = runTidewarden({"dedupe", "clean", "--selected", "--json"});
  EXPECT_EQ(preview.code, 1) << preview.err;
  EXPECT_EQ(volume_->freeBytes(), freeBefore);
  const auto cleaned = runTidewarden({"dedupe", "clean", "--selected", "--yes", "--json"});
  ASSERT_EQ(cleaned.code, 0) << cleaned.out << cleaned.err;
  const auto json = nlohmann::json::parse(cleaned.out);
  EXPECT_EQ(json["done"], 3);
  EXPECT_TRUE(json["failed"].empty());
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
  copies(shareable, {on("x/data.bin"), on("y/data.bin")});
  const std::string stuck = randomBytes(MiB, 49);
  copies(stuck, {home_ / "p/one.bin", home_ / "p/two.bin"});
  setProjectRoots(home_, {volume_->path(), home_ / "p"});

  const ProviderResult result = Dedupe::load(home_.context());

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
