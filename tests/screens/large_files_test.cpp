#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "core/dev_item.h"
#include "screens/large_files.h"
#include "screens/screen_fixtures.h"
#include "support/fake_home.h"
#include "support/loop_volume.h"

namespace tw::test {
namespace {

using Groups = std::map<std::string, std::vector<std::string>>;
using ::testing::HasSubstr;

ProviderResult scanLinux(const FakeHome& home, const std::vector<std::string>& projectRoots = {}) {
  return LargeFiles::scan(linuxLargeFilesTable(), home.context(), projectRoots, std::chrono::system_clock::now());
}

// A file of 2 MiB, as a user keeps many, last opened and changed these many days ago.
std::string kept(FakeHome& home, const std::string& relative, double accessed, double modified,
                 std::int64_t size = 2 * MiB) {
  const std::string path = home.file(relative, size);
  setDaysAgo(path, accessed, modified);
  return path;
}

TEST(LargeFilesLinux, SortsFilesIntoGroupsByPlaceNameAndAgeAndTicksOnlyInstallersUntouchedForMonths) {
  FakeHome home;
  // Downloads is wherever user-dirs.dirs says.
  home.fileWithContents(".config/user-dirs.dirs", "XDG_DOWNLOAD_DIR=\"$HOME/Téléchargements\"\n");
  kept(home, "Téléchargements/ubuntu.iso", 100, 100);
  kept(home, "Téléchargements/opened.iso", 2, 100);  // read two days ago: still in use
  kept(home, "Téléchargements/setup.deb", 10, 10);
  kept(home, "Téléchargements/old/report.pdf", 120, 120);
  kept(home, "Téléchargements/notes.pdf", 10, 10);
  kept(home, "Téléchargements/tiny.iso", 200, 200, 10'000);  // folded away with the small files
  kept(home, "Téléchargements/Tool.AppImage", 200, 200);     // an app: the Uninstaller's
  kept(home, "Downloads/not-downloads.iso", 200, 200);
  kept(home, "Pictures/Screenshots/Screenshot from 2024-01-01 10-00-00.png", 40, 40);
  kept(home, "Pictures/Screenshot_20240101_100000.png", 5, 5);
  kept(home, "Pictures/holiday.jpg", 400, 400);
  kept(home, "Videos/Screencasts/Screencast from 2024-01-01.webm", 40, 40);
  kept(home, "Documents/builds/app-release.apk", 1, 1, 3 * MiB);
  kept(home, "scratch/node_modules/keep.apk", 1, 1);  // no package.json: not a project's
  // The places of other screens.
  kept(home, ".cache/thumbnails/cached.apk", 1, 1);
  kept(home, ".local/share/Trash/files/trashed.apk", 1, 1);
  home.file("code/web/package.json", 10);
  kept(home, "code/web/node_modules/pkg/dependency.apk", 1, 1);
  kept(home, "code/web/.git/objects/pack/packed.apk", 1, 1);
  home.file("code/engine/CMakeLists.txt", 10);
  home.file("code/engine/cmake-build-debug/CMakeCache.txt", 10);
  kept(home, "code/engine/cmake-build-debug/app.apk", 1, 1);
  kept(home, ".ollama/models/blobs/model.apk", 1, 1);

  const auto result = scanLinux(home);
  EXPECT_EQ(summary(result),
            (Groups{{"installers", {"opened.iso", "setup.deb", "ubuntu.iso*"}},
                    {"downloads", {"report.pdf"}},
                    {"screenshots", {"Screencast from 2024-01-01.webm", "Screenshot from 2024-01-01 10-00-00.png"}},
                    {"builds", {"app-release.apk", "keep.apk"}}}));
  for (const auto& group : result.groups) {
    for (std::size_t i = 1; i < group->items().size(); ++i) {
      EXPECT_GE(group->items()[i - 1].freeable, group->items()[i].freeable) << group->id << ": largest first";
    }
  }
  EXPECT_EQ(result.note, std::nullopt);

  const std::string iso = home / "Téléchargements/ubuntu.iso";
  const DevItem& item = itemWithId(result, iso);
  EXPECT_EQ(item.size, 2 * MiB);
  EXPECT_EQ(item.freeable, 2 * MiB);
  EXPECT_THAT(item.detail, HasSubstr("~/Téléchargements"));
  EXPECT_THAT(item.detail, HasSubstr("last opened"));
  EXPECT_EQ(item.badges, (std::vector<Badge>{{"untouched 90+ days", Badge::Tone::warn}}));
  ASSERT_TRUE(std::holds_alternative<DevAction::Trash>(item.action.value));
  EXPECT_EQ(std::get<DevAction::Trash>(item.action.value).paths, std::vector<std::string>{iso});
  EXPECT_EQ(item.restoreHint, "Put it back from the Trash");
  EXPECT_EQ(item.revealPath, iso);
}

TEST(LargeFilesLinux, BigFilesAreThoseTakingHalfAGigabyteOnDiskAnywhereInTheHome) {
  FakeHome home;
  allocatedFile(home / "Videos/film.mkv", LargeFiles::bigFileBytes + 4096);
  sparseFile(home / "vm/thin.img", LargeFiles::bigFileBytes * 2);  // long, but takes nothing
  home.file("Videos/clip.mkv", 3 * MiB);
  const auto result = scanLinux(home);
  EXPECT_EQ(summary(result), (Groups{{"big", {"film.mkv"}}}));
  EXPECT_GE(itemWithId(result, home / "Videos/film.mkv").size.value_or(0), LargeFiles::bigFileBytes);
}

TEST(LargeFilesLinux, StaysOnTheHomeFileSystemUnlessAProjectRootLiesElsewhere) {
  FakeHome home;
  std::string whyNot;
  const auto volume = LoopVolume::mount(LoopVolume::Kind::tmpfs, 32 * MiB, whyNot, home.folder("external"));
  if (!volume) GTEST_SKIP() << whyNot;
  home.file("external/code/app/build-output.apk", 2 * MiB);
  home.file("Documents/mine.apk", 2 * MiB);
  EXPECT_EQ(summary(scanLinux(home)), (Groups{{"builds", {"mine.apk"}}}));
  EXPECT_EQ(summary(scanLinux(home, {home / "external/code"})), (Groups{{"builds", {"build-output.apk", "mine.apk"}}}));
  EXPECT_EQ(summary(scanLinux(home, {home.path(), home / "Documents"})), (Groups{{"builds", {"mine.apk"}}}))
      << "roots on the home file system are walked once, with the home";
}

TEST(LargeFilesLinux, AnEmptyHomeSaysSoAndAStoppedScanGivesNothing) {
  FakeHome home;
  home.file("Documents/letter.odt", 5000);
  const auto empty = scanLinux(home);
  EXPECT_TRUE(empty.groups.empty());
  EXPECT_EQ(empty.note, "No large or old files in your home folder.");

  kept(home, "Documents/app.apk", 1, 1);
  std::stop_source stop;
  stop.request_stop();
  const auto stopped = LargeFiles::scan(linuxLargeFilesTable(), home.context().withStop(stop.get_token()), {},
                                        std::chrono::system_clock::now());
  EXPECT_TRUE(stopped.groups.empty());
}

TEST(LargeFilesMacOS, LooksOnTheDesktopForScreenshotsAndInMailForAttachments) {
  FakeHome home;
  kept(home, "Desktop/Screenshot 2024-01-01 at 10.00.00.png", 40, 40);
  kept(home, "Desktop/Screen Recording 2024-01-01 at 10.00.00.mov", 40, 40);
  kept(home, "Desktop/Budget.numbers", 40, 40);
  kept(home, "Library/Containers/com.apple.mail/Data/Library/Mail Downloads/1A2B/invoice.pdf", 3, 3);
  kept(home, "Downloads/Installer.dmg", 100, 100);
  kept(home, "Library/Caches/com.example/cached.apk", 1, 1);
  kept(home, "Library/Developer/Xcode/Archives/App.ipa", 1, 1);
  const auto result = LargeFiles::scan(macOSLargeFilesTable(), home.context(), {}, std::chrono::system_clock::now());
  EXPECT_EQ(summary(result),
            (Groups{{"installers", {"Installer.dmg*"}},
                    {"mail", {"invoice.pdf"}},
                    {"screenshots",
                     {"Screen Recording 2024-01-01 at 10.00.00.mov", "Screenshot 2024-01-01 at 10.00.00.png"}}}));
}

}  // namespace
}  // namespace tw::test
