#include <gtest/gtest.h>

#include "screens/large_files.h"
#include "screens/places.h"
#include "screens/system_data.h"
#include "screens/uninstaller.h"
#include "support/fake_home.h"

namespace tw::test {
namespace {

TEST(Places, UserFoldersComeFromTheEnvironmentThenUserDirsThenTheirUsualNames) {
  FakeHome home;
  home.fileWithContents(".config/user-dirs.dirs",
                        "# written by xdg-user-dirs-update\n"
                        "XDG_DOWNLOAD_DIR=\"$HOME/Downloads/incoming\"\n"
                        "XDG_PICTURES_DIR=\"/srv/photos\"\n"
                        "XDG_VIDEOS_DIR=\"$HOME/\"\n"  // switched off
                        "XDG_DESKTOP_DIR=relative/ignored\n");
  const auto places = Places::make(
      Context::fromEnvironment({{"HOME", home.path()}, {"XDG_DESKTOP_DIR", "/mnt/desk"}, {"XDG_CACHE_HOME", "cache"}}));
  EXPECT_EQ(places.expand("$XDG_DOWNLOAD_DIR/a.iso"), home / "Downloads/incoming/a.iso");
  EXPECT_EQ(places.expand("$XDG_PICTURES_DIR/Screenshots"), "/srv/photos/Screenshots");
  EXPECT_EQ(places.expand("$XDG_VIDEOS_DIR"), "") << "a folder set to the home folder is switched off";
  EXPECT_EQ(places.expand("$XDG_DESKTOP_DIR"), "/mnt/desk");
  EXPECT_EQ(places.expand("$XDG_CACHE_HOME/x"), home / ".cache/x") << "a relative value is ignored";
  EXPECT_EQ(places.expand("$XDG_DATA_HOME/Trash"), home / ".local/share/Trash");
  EXPECT_EQ(places.expand("~"), home.path());
  EXPECT_EQ(places.expand("$NO_SUCH_FOLDER/x"), "");

  const auto rooted = Places::make(home.context(), "/tmp/root");
  EXPECT_EQ(rooted.expand("/var/cache/apt/archives"), "/tmp/root/var/cache/apt/archives");
  EXPECT_EQ(rooted.unrooted("/tmp/root/usr/share/applications/a.desktop"), "/usr/share/applications/a.desktop");
  EXPECT_EQ(rooted.tilde(home / "Downloads"), "~/Downloads");
  EXPECT_EQ(rooted.tilde("/tmp/root/var/crash"), "/var/crash");
  EXPECT_EQ(systemRoot({{"TIDEWARDEN_SYSTEM_ROOT", "/tmp/root/"}}), "/tmp/root");
  EXPECT_EQ(systemRoot({{"TIDEWARDEN_SYSTEM_ROOT", "relative"}}), "");
  EXPECT_EQ(systemRoot({}), "");
}

// Every place of every table must resolve, on any platform: a typo would silently look
// nowhere.
void expectResolved(const Places& places, const std::vector<std::string>& paths, const std::string& table) {
  for (const auto& path : paths) {
    const std::string resolved = places.expand(path);
    EXPECT_FALSE(resolved.empty()) << table << ": " << path;
    EXPECT_TRUE(resolved.starts_with(places.home) || resolved.starts_with(places.root)) << table << ": " << path;
  }
}

TEST(ScreenTables, EveryPlaceOfBothPlatformsResolvesUnderTheHomeOrTheRoot) {
  FakeHome home;
  const auto places = Places::make(home.context(), "/tmp/root");
  for (const auto* table : {&linuxLargeFilesTable(), &macOSLargeFilesTable()}) {
    std::vector<std::string> paths = table->ownedPlaces;
    paths.push_back(table->downloads);
    paths.insert(paths.end(), table->screenshotFolders.begin(), table->screenshotFolders.end());
    paths.insert(paths.end(), table->mailDownloads.begin(), table->mailDownloads.end());
    expectResolved(places, paths, "large files " + table->name);
    EXPECT_TRUE(table->installerExtensions.contains("iso")) << table->name;
  }
  for (const auto* table : {&linuxUninstallerTable(), &macOSUninstallerTable()}) {
    std::vector<std::string> paths;
    if (table->flatpak) paths.insert(paths.end(), {table->flatpak->userInstallation, table->flatpak->data});
    if (table->snap) paths.insert(paths.end(), {table->snap->socket, table->snap->files, table->snap->data});
    if (table->appImages) paths.insert(paths.end(), table->appImages->folders.begin(), table->appImages->folders.end());
    if (table->bundles) {
      paths.insert(paths.end(), table->bundles->folders.begin(), table->bundles->folders.end());
      for (const auto& pattern : table->bundles->libraryFolders) {
        EXPECT_NE(pattern.find("{id}"), std::string::npos) << pattern;
        paths.push_back(pattern);
      }
    }
    expectResolved(places, paths, "uninstaller " + table->name);
  }
  for (const auto* table : {&linuxSystemDataTable(), &macOSSystemDataTable()}) {
    std::vector<std::string> paths;
    if (table->journal) paths.insert(paths.end(), table->journal->folders.begin(), table->journal->folders.end());
    if (table->packageCache) paths.push_back(table->packageCache->archives);
    for (const auto& found : table->found) paths.insert(paths.end(), found.folders.begin(), found.folders.end());
    expectResolved(places, paths, "system data " + table->name);
  }
  EXPECT_EQ(platformLargeFilesTable().name, platformUninstallerTable().name);
  EXPECT_EQ(platformSystemDataTable().name, platformUninstallerTable().name);
}

}  // namespace
}  // namespace tw::test
