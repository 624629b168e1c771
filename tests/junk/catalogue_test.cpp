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

std::set<std::string> relativeItems(const JunkCategory& category, const FakeHome& home) {
  std::set<std::string> paths;
  for (const auto& item : category.items()) paths.insert(item.path.substr(home.path().size() + 1));
  return paths;
}

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

void expectOffered(const JunkCategories& categories, const Offered& offered, const FakeHome& home) {
  ASSERT_EQ(categories.size(), 7u);
  for (const auto& found : categories) {
    EXPECT_EQ(relativeItems(*found, home), offered.at(found->id)) << found->id;
    EXPECT_EQ(found->note(), std::nullopt) << found->id;
    for (const auto& item : found->items()) EXPECT_EQ(item.selected, found->id != "installers") << item.path;
  }
}

TEST(SmartCleanCatalogue, MacHomeOffersExactlyTheCatalogueLocations) {
  FakeHome home;
  const JunkHome layout = makeMacJunkHome(home);
  const auto categories = JunkModel::makeCategories(macOSJunkTable());
  (void)scanJunk(categories);
  expectOffered(categories, layout.offered, home);
}

TEST(SmartCleanCatalogue, LinuxHomeOffersExactlyTheCatalogueLocations) {
  FakeHome home;
  const JunkHome layout = makeLinuxJunkHome(home);
  const auto categories = JunkModel::makeCategories(linuxJunkTable());
  (void)scanJunk(categories);
  expectOffered(categories, layout.offered, home);
}

TEST(SmartCleanCatalogue, CategoriesComeInCatalogueOrderWithOnlyInstallersUnticked) {
  for (const JunkTable* table : {&macOSJunkTable(), &linuxJunkTable()}) {
    const auto categories = JunkModel::makeCategories(*table);
    std::vector<std::string> ids;
    for (const auto& found : categories) {
      ids.push_back(found->id);
      EXPECT_EQ(found->defaultSelected, found->id != "installers") << table->name << " " << found->id;
      EXPECT_TRUE(found->items().empty());
      EXPECT_EQ(found->note(), std::nullopt);
    }
    EXPECT_EQ(ids, (std::vector<std::string>{"caches", "appcaches", "logs", "xcode", "dev", "trash", "installers"}));
  }
}

TEST(SmartCleanCatalogue, EmptyHomeFindsNothingAndOnlyAMacMissesItsTrash) {
  FakeHome home;
  for (const JunkTable* table : {&macOSJunkTable(), &linuxJunkTable()}) {
    for (const auto& found : JunkModel::makeCategories(*table)) {
      const JunkFinding finding = found->finder();
      EXPECT_TRUE(finding.paths.empty()) << table->name << " " << found->id;
      const bool expectNote = table == &macOSJunkTable() && found->id == "trash";
      EXPECT_EQ(finding.note.has_value(), expectNote) << table->name << " " << found->id;
    }
  }
}

TEST(SmartCleanCatalogue, UnreadableTrashBecomesANoteInThePlatformsWords) {
  FakeHome home;
  junkFile(home, ".Trash");
  junkFile(home, ".local/share/Trash/files");
  junkFile(home, "Library/Caches/still-found/data");
  const auto mac = JunkModel::makeCategories(macOSJunkTable());
  (void)scanJunk(mac);
  EXPECT_EQ(category(mac, "trash").note(),
            "Grant Tidewarden Full Disk Access in System Settings \u203A Privacy & Security to empty the Trash here.");
  EXPECT_TRUE(category(mac, "trash").items().empty());
  EXPECT_EQ(relativeItems(category(mac, "caches"), home), std::set<std::string>{"Library/Caches/still-found"});

  const auto onLinux = JunkModel::makeCategories(linuxJunkTable());
  (void)scanJunk(onLinux);
  EXPECT_EQ(category(onLinux, "trash").note(),
            "Tidewarden can't read your Trash folder (~/.local/share/Trash/files). Check its permissions to empty the "
            "Trash here.");
}

TEST(SmartCleanCatalogue, AnEmptyTrashHasNoNote) {
  FakeHome home;
  home.folder(".Trash");
  home.folder(".local/share/Trash/files");
  for (const JunkTable* table : {&macOSJunkTable(), &linuxJunkTable()}) {
    const JunkFinding finding = category(JunkModel::makeCategories(*table), "trash").finder();
    EXPECT_TRUE(finding.paths.empty());
    EXPECT_EQ(finding.note, std::nullopt) << table->name;
  }
}

TEST(SmartCleanCatalogue, XcodeAndDeveloperPathsKeepTheCatalogueOrder) {
  FakeHome home;
  makeMacJunkHome(home);
  const auto categories = JunkModel::makeCategories(macOSJunkTable());
  EXPECT_EQ(
      relative(category(categories, "xcode").finder().paths, home),
      (std::vector<std::string>{
          "Library/Developer/Xcode/DerivedData/MyApp-abcdef", "Library/Developer/Xcode/iOS DeviceSupport/17.0 (21A329)",
          "Library/Developer/Xcode/watchOS DeviceSupport/10.0 (21R355)", "Library/Developer/CoreSimulator/Caches"}));
  const auto dev = relative(category(categories, "dev").finder().paths, home);
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

TEST(SmartCleanCatalogue, LinkedFoldersAreNeverWalkedOrListedThrough) {
  FakeHome home;
  const std::string outside = makeTempFolder("tw-outside");
  writeFilledFile(outside + "/App/Cache/data", junkFileSize);
  writeFilledFile(outside + "/entry", junkFileSize);
  home.folder("Library/Application Support");
  ASSERT_EQ(::symlink(outside.c_str(), (home / "Library/Application Support/Linked").c_str()), 0);
  ASSERT_EQ(::symlink(outside.c_str(), (home / "Library/Logs").c_str()), 0);
  const auto categories = JunkModel::makeCategories(macOSJunkTable());
  EXPECT_TRUE(category(categories, "appcaches").finder().paths.empty());
  EXPECT_TRUE(category(categories, "logs").finder().paths.empty());
  removeTree(outside);
}

TEST(SmartCleanCatalogue, ALinkedCacheEntryIsMeasuredAsTheLinkNotItsTarget) {
  FakeHome home;
  const std::string outside = makeTempFolder("tw-outside");
  // A long target makes the link take a block of its own, so it is not dropped as empty.
  const std::string target = outside + "/" + std::string(100, 't');
  writeFilledFile(target + "/big", 1 << 20);
  home.folder("Library/Caches");
  const std::string link = home / "Library/Caches/linked";
  ASSERT_EQ(::symlink(target.c_str(), link.c_str()), 0);
  const auto categories = JunkModel::makeCategories(macOSJunkTable());
  (void)scanJunk(categories);
  const auto& items = category(categories, "caches").items();
  if (allocatedBytes(link) == 0) {
    EXPECT_TRUE(items.empty()) << "a link without blocks of its own measures zero";
  } else {
    ASSERT_EQ(items.size(), 1u);
    EXPECT_EQ(items.front().path, link);
    EXPECT_EQ(items.front().size, allocatedBytes(link));
    EXPECT_LT(items.front().size, 1 << 20);
  }
  removeTree(outside);
}

TEST(SmartCleanCatalogue, ItemSizesAreTheAllocatedBytesLargestFirst) {
  FakeHome home;
  makeMacJunkHome(home);
  writeFilledFile(home / "Library/Caches/big/blob", 300000);
  const auto categories = JunkModel::makeCategories(macOSJunkTable());
  (void)scanJunk(categories);
  for (const auto& found : categories) {
    std::int64_t previous = INT64_MAX;
    for (const auto& item : found->items()) {
      EXPECT_EQ(item.size, allocatedBytes(item.path)) << item.path;
      EXPECT_LE(item.size, previous) << item.path;
      previous = item.size;
    }
  }
  EXPECT_EQ(category(categories, "caches").items().front().path, home / "Library/Caches/big");
}

TEST(SmartCleanCatalogue, SequentialAndConcurrentScansAgree) {
  FakeHome home;
  makeMacJunkHome(home);
  const auto concurrent = JunkModel::makeCategories(macOSJunkTable());
  const auto sequential = JunkModel::makeCategories(macOSJunkTable());
  const auto concurrentResult = scanJunk(concurrent, JunkScanMode::concurrent);
  const auto sequentialResult = scanJunk(sequential, JunkScanMode::sequential);
  for (std::size_t index = 0; index < concurrent.size(); ++index) {
    EXPECT_EQ(concurrent[index]->items(), sequential[index]->items()) << concurrent[index]->id;
  }
  EXPECT_EQ(concurrentResult.identities, sequentialResult.identities);
}

TEST(SmartCleanCatalogue, ObserversHearOfTheScanResults) {
  FakeHome home;
  junkFile(home, "Library/Logs/app.log");
  const auto categories = JunkModel::makeCategories(macOSJunkTable());
  std::vector<std::string> heard;
  category(categories, "logs").observe([&](std::string_view property) { heard.emplace_back(property); });
  (void)scanJunk(categories);
  EXPECT_EQ(heard, (std::vector<std::string>{"items", "note"}));
}

TEST(SmartCleanCatalogue, TheEnvironmentPicksTheTableAndXdgFoldersAreHonoured) {
  FakeHome home;
  junkFile(home, "Library/Caches/mac-cache/x");
  junkFile(home, "elsewhere/linux-cache/x");
  ::setenv("XDG_CACHE_HOME", (home / "elsewhere").c_str(), 1);
  ::setenv("TIDEWARDEN_JUNK_TABLE", "macos", 1);
  EXPECT_EQ(relative(category(JunkModel::makeCategories(), "caches").finder().paths, home),
            std::vector<std::string>{"Library/Caches/mac-cache"});
  ::setenv("TIDEWARDEN_JUNK_TABLE", "linux", 1);
  EXPECT_EQ(relative(category(JunkModel::makeCategories(), "caches").finder().paths, home),
            std::vector<std::string>{"elsewhere/linux-cache"});
  ::unsetenv("TIDEWARDEN_JUNK_TABLE");
  if (&platformJunkTable() != &linuxJunkTable()) GTEST_SKIP() << "checks the Linux default";
  EXPECT_EQ(relative(category(JunkModel::makeCategories(), "caches").finder().paths, home),
            std::vector<std::string>{"elsewhere/linux-cache"});
}

}  // namespace
}  // namespace tw::test
