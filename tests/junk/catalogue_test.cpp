#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "junk/junk_fake_home.h"
#include "junk/junk_finders.h"
#include "junk/junk_model.h"
#include "junk/junk_scan.h"
#include "support/fake_home.h"

namespace tw::test {
namespace {

std::vector<std::string> relative(const std::vector<std::string>& paths, const FakeHome& home) {
  std::vector<std::string> result;
  for (const auto& path : paths) result.push_back(path.substr(home.path().size() + 1));
  return result;
}

JunkCategory& category(const JunkCategories& categories, const std::string& id) {
  for (const auto& found : categories) {
    if (found->id == id) return *found;
  }
  throw std::runtime_error("no category " + id);
}

std::vector<std::string> found(const JunkTable& table, const std::string& id, const FakeHome& home) {
  return relative(category(JunkModel::makeCategories(table, JunkRoots::of(home.context())), id).finder({}).paths, home);
}

// What each table offers for a fully stocked home is checked through `tidewarden junk`.
TEST(SmartCleanCatalogue, EitherScanModeFindsTheSameAndEverythingButInstallersStartsSelected) {
  FakeHome home;
  makeMacJunkHome(home);
  for (const JunkTable* table : {&macOSJunkTable(), &linuxJunkTable()}) {
    const auto categories = JunkModel::makeCategories(*table, JunkRoots::of(home.context())),
               sequential = JunkModel::makeCategories(*table, JunkRoots::of(home.context()));
    EXPECT_EQ(scanJunk(categories).identities, scanJunk(sequential, JunkScanMode::sequential).identities);
    for (std::size_t index = 0; index < categories.size(); ++index) {
      const JunkCategory& found = *categories[index];
      EXPECT_EQ(found.items(), sequential[index]->items()) << table->name << " " << found.id;
      EXPECT_EQ(found.defaultSelected, found.id != "installers") << table->name << " " << found.id;
      for (const auto& item : found.items()) EXPECT_EQ(item.selected, found.defaultSelected) << item.path;
    }
    EXPECT_FALSE(category(categories, "installers").items().empty()) << table->name;
  }
}

TEST(SmartCleanCatalogue, AnEmptyHomeFindsNothingAndOnlyAMissingMacTrashHasANote) {
  FakeHome home;
  for (const bool trashFolders : {false, true}) {
    for (const JunkTable* table : {&macOSJunkTable(), &linuxJunkTable()}) {
      for (const auto& found : JunkModel::makeCategories(*table, JunkRoots::of(home.context()))) {
        const JunkFinding finding = found->finder({});
        const std::string what = table->name + " " + found->id + (trashFolders ? " with" : " without") + " Trash";
        EXPECT_TRUE(finding.paths.empty()) << what;
        EXPECT_EQ(finding.note.has_value(), !trashFolders && table == &macOSJunkTable() && found->id == "trash")
            << what;
      }
    }
    home.folder(".Trash");
    home.folder(".local/share/Trash/files");
  }
}

TEST(SmartCleanCatalogue, XcodeAndDeveloperPathsKeepTheCatalogueOrder) {
  FakeHome home;
  makeMacJunkHome(home);
  EXPECT_EQ(
      found(macOSJunkTable(), "xcode", home),
      (std::vector<std::string>{
          "Library/Developer/Xcode/DerivedData/MyApp-abcdef", "Library/Developer/Xcode/iOS DeviceSupport/17.0 (21A329)",
          "Library/Developer/Xcode/watchOS DeviceSupport/10.0 (21R355)", "Library/Developer/CoreSimulator/Caches"}));
  const auto dev = found(macOSJunkTable(), "dev", home);
  ASSERT_EQ(dev.size(), 11u);
  EXPECT_EQ(std::vector<std::string>(dev.begin(), dev.begin() + 9),
            (std::vector<std::string>{".npm/_cacache", "Library/pnpm/store", ".bun/install/cache", ".gradle/caches",
                                      ".cargo/registry/cache", ".cargo/registry/src", ".m2/repository",
                                      ".cocoapods/repos", ".android/cache"}));
  EXPECT_EQ(std::set<std::string>(dev.begin() + 9, dev.end()),
            (std::set<std::string>{".cache/pip", ".cache/.hidden-tool"}));
}

TEST(SmartCleanCatalogue, CacheFolderWalkStopsAtTheDepthLimitAndAtMatches) {
  FakeHome home;
  const std::string root = home.folder("walk");
  junkFile(home, "walk/one/Cache/x");
  junkFile(home, "walk/one/two/GPUCache/Cache/x");
  junkFile(home, "walk/one/two/three/ShaderCache/x");
  junkFile(home, "walk/one/two/three/four/DawnCache/x");
  const auto paths = relative(JunkFinders::cacheFolders(root, cacheFolderNames(), 4), home);
  EXPECT_EQ(std::set<std::string>(paths.begin(), paths.end()),
            (std::set<std::string>{"walk/one/Cache", "walk/one/two/GPUCache", "walk/one/two/three/ShaderCache"}));
  EXPECT_EQ(relative(JunkFinders::cacheFolders(root, cacheFolderNames(), 2), home),
            std::vector<std::string>{"walk/one/Cache"});
}

TEST(SmartCleanCatalogue, ObserversHearOfTheScanResults) {
  FakeHome home;
  junkFile(home, "Library/Logs/app.log");
  const auto categories = JunkModel::makeCategories(macOSJunkTable(), JunkRoots::of(home.context()));
  std::vector<JunkCategoryField> heard;
  category(categories, "logs").observe([&](const JunkCategory::Notice& change) { heard.push_back(change.field); });
  (void)scanJunk(categories);
  EXPECT_EQ(heard, (std::vector<JunkCategoryField>{JunkCategoryField::items, JunkCategoryField::note}));
}

TEST(SmartCleanCatalogue, TheEnvironmentPicksTheTableAndXdgFoldersAreHonoured) {
  FakeHome home;
  junkFile(home, "Library/Caches/mac-cache/x");
  junkFile(home, "elsewhere/linux-cache/x");
  ScopedEnvironment cacheHome("XDG_CACHE_HOME", home / "elsewhere");
  const auto caches = [&] {
    return relative(category(JunkModel::makeCategories(home.context()), "caches").finder({}).paths, home);
  };
  for (const auto& [table, expected] :
       {std::pair{"macos", "Library/Caches/mac-cache"}, std::pair{"linux", "elsewhere/linux-cache"}}) {
    ScopedEnvironment chosen("TIDEWARDEN_JUNK_TABLE", table);
    EXPECT_EQ(caches(), std::vector<std::string>{expected}) << table;
  }
  if (&platformJunkTable() != &linuxJunkTable()) GTEST_SKIP() << "checks the Linux default";
  EXPECT_EQ(caches(), std::vector<std::string>{"elsewhere/linux-cache"});
}

}  // namespace
}  // namespace tw::test
