#include <gtest/gtest.h>

#include "screens/desktop_entry.h"
#include "screens/dpkg_tool.h"
#include "screens/flatpak_tool.h"
#include "screens/snap_tool.h"
#include "screens/tool_output.h"
#include "support/fake_home.h"
#include "support/stand_in_tools.h"

namespace tw::test {
namespace {

// The tools' own words, as they print them without a terminal.
constexpr const char* snapList =
    "Name      Version          Rev    Tracking         Publisher   Notes\n"
    "core22    20240111         1122   latest/stable    canonical**  base\n"
    "firefox   124.0-2          4033   latest/stable/…  mozilla**    -\n"
    "firefox   123.0.1-1        3941   latest/stable/…  mozilla**    disabled\n"
    "snapd     2.61.2           21184  latest/stable    canonical**  snapd\n"
    "code      e170252f         155    latest/stable    vscode**     classic,disabled\n";

TEST(SnapTool, ReadsRevisionsAndSnapshotsAndFailsWhenSnapDoes) {
  FakeHome bin;  // stand-ins in a fake home, which gives the tools their context
  const auto snap = writeStandInTool(bin / "snap", {{"list --all", snapList},
                                                    {"saved",
                                                     "Set  Snap     Age    Version   Rev   Size    Notes\n"
                                                     "7    firefox  2d     123.0.1   3941  4.10MB  auto\n"
                                                     "12   code     41.3h  e170252f  155   220kB   -\n"}});
  const auto revisions = listSnaps(snap, true, bin.context());
  ASSERT_TRUE(revisions.has_value());
  ASSERT_EQ(revisions->size(), 5u);
  EXPECT_EQ((*revisions)[2].name, "firefox");
  EXPECT_EQ((*revisions)[2].revision, "3941");
  EXPECT_TRUE((*revisions)[2].hasNote("disabled"));
  EXPECT_TRUE((*revisions)[4].hasNote("disabled")) << "notes are a comma list";
  EXPECT_FALSE((*revisions)[1].hasNote("disabled"));
  EXPECT_FALSE((*revisions)[4].hasNote("disable"));

  const auto snapshots = listSnapSnapshots(snap, bin.context());
  ASSERT_TRUE(snapshots.has_value());
  ASSERT_EQ(snapshots->size(), 2u);
  EXPECT_EQ((*snapshots)[1].set, "12");
  EXPECT_EQ((*snapshots)[1].snap, "code");
  EXPECT_EQ((*snapshots)[1].revision, "155");
  EXPECT_EQ((*snapshots)[0].size, 4'100'000) << "snap's own rounded figure, for when its files are unreadable";
  EXPECT_EQ((*snapshots)[1].size, 220'000);
  EXPECT_EQ(listSnaps(snap, false, bin.context()), std::nullopt) << "a listing that fails says nothing";

  writeStandInTool(bin / "snap", {{"saved", "No snapshots found."}});
  EXPECT_EQ(listSnapSnapshots(snap, bin.context()), std::vector<SnapSnapshot>{});
}

TEST(ToolOutput, SizesInDecimalUnitsAsToolsPrintThem) {
  EXPECT_EQ(decimalSize("512B"), 512);
  EXPECT_EQ(decimalSize("1.2 GB"), 1'200'000'000);
  EXPECT_EQ(decimalSize(" 220kB "), 220'000);
  EXPECT_EQ(decimalSize("3MiB"), std::nullopt);
  EXPECT_EQ(decimalSize("MB"), std::nullopt);
  EXPECT_EQ(decimalSize("-"), std::nullopt);
}

TEST(FlatpakTool, ReadsAppsAndTheUnusedRefsItWouldRemoveWithoutRemovingThem) {
  FakeHome bin;
  const auto flatpak =
      writeStandInTool(bin / "flatpak", {{"list --app --columns=application,name,version,installation",
                                          "org.gimp.GIMP\tGNU Image Manipulation Program\t2.10.36\tsystem\n"
                                          "com.spotify.Client\tSpotify\t\tuser\n"
                                          "org.example.Tool\t\t1.0\textra-disk\n"},
                                         // Declining its own question, flatpak lists and then fails.
                                         {"uninstall --unused --user",
                                          "\n        ID                                    Branch    Op\n"
                                          " 1.     org.gnome.Platform                    44        r\n"
                                          " 2.     org.gnome.Platform.Locale             44        r\n"
                                          "\nProceed with these changes to the user installation? [Y/n]: n",
                                          1},
                                         {"uninstall --unused --system", "Nothing unused to uninstall"}});
  const auto apps = listFlatpakApps(flatpak, bin.context());
  ASSERT_TRUE(apps.has_value());
  ASSERT_EQ(apps->size(), 3u);
  EXPECT_EQ((*apps)[0].name, "GNU Image Manipulation Program");
  EXPECT_EQ((*apps)[1].version, "");
  EXPECT_EQ((*apps)[2].name, "org.example.Tool") << "an app without a name shows its id";
  EXPECT_EQ(flatpakInstallationOption((*apps)[0].installation), "--system");
  EXPECT_EQ(flatpakInstallationOption((*apps)[1].installation), "--user");
  EXPECT_EQ(flatpakInstallationOption((*apps)[2].installation), "--installation=extra-disk");

  const auto unused = listUnusedFlatpakRefs(flatpak, false, bin.context());
  ASSERT_TRUE(unused.has_value());
  ASSERT_EQ(unused->size(), 2u);
  EXPECT_EQ((*unused)[1].id, "org.gnome.Platform.Locale");
  EXPECT_EQ((*unused)[1].words, (std::vector<std::string>{"44", "r"}));
  EXPECT_EQ(listUnusedFlatpakRefs(flatpak, true, bin.context()), std::vector<FlatpakUnused>{});

  writeStandInTool(bin / "flatpak", {{"uninstall --unused --user", "", 1, "error: Creating repo: Permission denied"}});
  EXPECT_EQ(listUnusedFlatpakRefs(flatpak, false, bin.context()), std::nullopt)
      << "a failure with nothing listed is a failure";
}

TEST(DpkgTool, FindsTheOwnersOfFilesAndReadsPackageRecordsWithTheirConfigFiles) {
  FakeHome bin;
  const auto dpkg = writeStandInTool(
      bin / "dpkg", {{"-S *",
                      "diversion by dash from: /usr/share/applications/x.desktop\n"
                      "firefox-esr: /usr/share/applications/firefox-esr.desktop\n"
                      "libreoffice-common, libreoffice-writer: /usr/share/applications/libreoffice-writer.desktop\n",
                      1, "dpkg-query: no path found matching pattern /usr/share/applications/mine.desktop"}});
  const auto owners =
      packageOwners(dpkg,
                    {"/usr/share/applications/firefox-esr.desktop",
                     "/usr/share/applications/libreoffice-writer.desktop", "/usr/share/applications/mine.desktop"},
                    bin.context());
  ASSERT_TRUE(owners.has_value());
  EXPECT_EQ(*owners,
            (std::map<std::string, std::vector<std::string>>{
                {"/usr/share/applications/firefox-esr.desktop", {"firefox-esr"}},
                {"/usr/share/applications/libreoffice-writer.desktop", {"libreoffice-common", "libreoffice-writer"}}}));
  EXPECT_EQ(standInCalls(dpkg).back(),
            "-S /usr/share/applications/firefox-esr.desktop /usr/share/applications/libreoffice-writer.desktop "
            "/usr/share/applications/mine.desktop")
      << "one call for every file";

  const auto query =
      writeStandInTool(bin / "dpkg-query", {{"-W --showformat=*",
                                             "ii \tfirefox-esr\t115.9.1esr-1\t254601\tno\toptional\n"
                                             "\n"
                                             "rc \tgimp:amd64\t2.10.34-1\t\tno\toptional\n"
                                             " /etc/gimp/2.0/gimprc 0123456789abcdef0123456789abcdef\n"
                                             " /etc/gimp/2.0/sessionrc 0123456789abcdef0123456789abcdef obsolete\n"
                                             "ii \tbash\t5.2.15-2\t7164\tyes\trequired\n"
                                             "ii \tbroken line without tabs\n"}});
  const auto records = packageRecords(query, bin.context());
  ASSERT_TRUE(records.has_value());
  ASSERT_EQ(records->size(), 3u);
  EXPECT_EQ((*records)[0].status, "ii");
  EXPECT_EQ((*records)[0].installedKiB, 254601);
  EXPECT_FALSE((*records)[0].isBaseSystem());
  EXPECT_EQ((*records)[1].name, "gimp:amd64");
  EXPECT_EQ((*records)[1].status, "rc");
  EXPECT_EQ((*records)[1].conffiles, (std::vector<std::string>{"/etc/gimp/2.0/gimprc", "/etc/gimp/2.0/sessionrc"}));
  EXPECT_TRUE((*records)[2].isBaseSystem());
  EXPECT_EQ(packageRecords(bin / "missing-tool", bin.context()), std::nullopt);
}

TEST(DesktopEntries, ReadTheMainGroupOnlyAndTellHiddenEntriesApart) {
  TempFolder folder;
  writeFile(folder / "app.desktop",
            "# comment\n[Desktop Entry]\nType=Application\nName=Editor\nName[de]=Bearbeiter\n"
            "Exec=\"/home/u/Apps/Editor.AppImage\" %U\nTryExec=/home/u/Apps/Editor.AppImage\n"
            "[Desktop Action new]\nName=New Window\nNoDisplay=true\n");
  writeFile(folder / "helper.desktop", "[Desktop Entry]\nType=Application\nName=Helper\nNoDisplay=true\n");
  writeFile(folder / "link.desktop", "[Desktop Entry]\nType=Link\nName=Site\n");
  writeFile(folder / "plain.txt", "Name=Nothing\n");
  const auto app = readDesktopEntry(folder / "app.desktop");
  ASSERT_TRUE(app.has_value());
  EXPECT_EQ(app->name, "Editor");
  EXPECT_EQ(app->exec, "\"/home/u/Apps/Editor.AppImage\" %U");
  EXPECT_TRUE(app->shownApplication()) << "keys of other groups do not count";
  EXPECT_FALSE(readDesktopEntry(folder / "helper.desktop")->shownApplication());
  EXPECT_FALSE(readDesktopEntry(folder / "link.desktop")->shownApplication());
  EXPECT_EQ(readDesktopEntry(folder / "plain.txt"), std::nullopt);
  EXPECT_EQ(readDesktopEntry(folder / "missing.desktop"), std::nullopt);
}

}  // namespace
}  // namespace tw::test
