#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "support/fake_home.h"
#include "support/listening_socket.h"
#include "support/screen_output.h"
#include "support/stand_in_tools.h"

namespace tw::test {
namespace {

using ::testing::HasSubstr;
using ::testing::UnorderedElementsAre;

constexpr std::int64_t MiB = 1024 * 1024;

std::string desktopEntry(const std::string& name, const std::string& exec, bool hidden = false) {
  return "[Desktop Entry]\nType=Application\nName=" + name + "\nExec=" + exec + "\n" +
         (hidden ? "NoDisplay=true\n" : "");
}

// A made-up system (under a temporary root) with Flatpak, snap, Debian packages and
// AppImages, answered by stand-in tools in the fake home; leftovers of removed apps too.
class AppsCommand : public ::testing::Test {
 protected:
  void SetUp() override {
    flatpak = writeStandInTool(bin + "/flatpak",
                               {{"list --app --columns=application,name,version,installation",
                                 "org.gimp.GIMP\tGIMP\t2.10.36\tsystem\ncom.spotify.Client\tSpotify\t1.2\tuser\n"}});
    writeFilledFile(root / "var/lib/flatpak/app/org.gimp.GIMP/x86_64/stable/active/files/bin/gimp", 3 * MiB);
    writeFilledFile(home / ".local/share/flatpak/app/com.spotify.Client/x86_64/stable/active/files/spotify", 2 * MiB);
    home.file(".var/app/org.gimp.GIMP/config/GIMP/gimprc", 5000);
    home.file(".var/app/org.gone.App/cache/blob", MiB);
    home.file(".var/app/org.unlisted.App/config/x", 100);  // not listed, but still deployed
    makeFolders(root / "var/lib/flatpak/app/org.unlisted.App/current");

    snap = writeStandInTool(bin + "/snap", {{"list",
                                             "Name     Version   Rev    Tracking       Publisher    Notes\n"
                                             "core22   20240111  1122   latest/stable  canonical**  base\n"
                                             "firefox  124.0-2   4033   latest/stable  mozilla**    -\n"}});
    writeFilledFile(root / "var/lib/snapd/snaps/firefox_4033.snap", 3 * MiB);
    writeFilledFile(root / "var/lib/snapd/snaps/firefox_3941.snap", 2 * MiB);
    writeFilledFile(root / "var/lib/snapd/snaps/core22_1122.snap", 2 * MiB);
    home.file("snap/firefox/common/cache", 10'000);
    home.file("snap/gone-app/current/settings", 20'000);
    makeFolders(root / "snap/firefox");

    const std::string entries = root / "usr/share/applications";
    writeFile(entries + "/firefox-esr.desktop", desktopEntry("Firefox ESR", "/usr/lib/firefox-esr/firefox-esr %u"));
    writeFile(entries + "/base.desktop", desktopEntry("Base Tool", "base-tool"));
    writeFile(entries + "/helper.desktop", desktopEntry("Helper", "helper", true));
    dpkg = writeStandInTool(bin + "/dpkg", {{"-S *",
                                             "firefox-esr: /usr/share/applications/firefox-esr.desktop\n"
                                             "base-tools: /usr/share/applications/base.desktop\n"}});
    writeStandInTool(bin + "/dpkg-query", {{"-W *",
                                            "ii \tfirefox-esr\t115.9.1esr-1\t254601\tno\toptional\n\n"
                                            "ii \tbase-tools\t1.0\t100\tno\trequired\n\n"
                                            "rc \toldpkg\t1.0\t\tno\toptional\n /etc/oldpkg.conf 0123abcd\n"}});
    writeFile(root / "etc/oldpkg.conf", std::string(3000, 'c'));
    home.file(".config/firefox-esr/prefs.js", 4000);

    home.file("Applications/Editor.AppImage", 2 * MiB);
    home.fileWithContents(".local/share/applications/appimagekit_1-Editor.desktop",
                          desktopEntry("Editor", "\"" + home / "Applications/Editor.AppImage" + "\" %U"));
    home.file("Downloads/Viewer.appimage", MiB);

    aptGet = writeStandInTool(bin + "/apt-get", {{"purge -y *", "Removing"}});
    writeStandInPkexec(bin);
  }

  [[nodiscard]] RunResult run(const std::vector<std::string>& arguments) const {
    return runOnSystem(root.path(), arguments);
  }
  [[nodiscard]] nlohmann::json list() const { return screenOnSystem(root.path(), "apps"); }

  FakeHome home;
  TempFolder root{"tw-apps-root"};
  ListeningSocket snapd{root / "run/snapd.socket"};
  std::string bin = home.folder(".local/bin");
  std::string flatpak, snap, dpkg, aptGet;
};

TEST_F(AppsCommand, ListsAppsBySourceWithTheirDataAndTicksOnlyLeftoversWhoseOwnerIsGone) {
  const auto output = list();
  EXPECT_TRUE(output["note"].is_null()) << output["note"];
  EXPECT_THAT(namesTicked(groupWithId(output, "flatpak")), UnorderedElementsAre("GIMP", "Spotify", "GIMP data"));
  EXPECT_THAT(namesTicked(groupWithId(output, "snap")), UnorderedElementsAre("firefox", "firefox data"));
  EXPECT_THAT(namesTicked(groupWithId(output, "debian")), UnorderedElementsAre("Firefox ESR", "Firefox ESR data"));
  EXPECT_THAT(namesTicked(groupWithId(output, "appimages")), UnorderedElementsAre("Editor", "Viewer"));
  EXPECT_THAT(namesTicked(groupWithId(output, "leftovers")),
              UnorderedElementsAre("org.gone.App*", "org.unlisted.App", "gone-app*", "oldpkg*"));

  const auto& flatpaks = groupWithId(output, "flatpak");
  EXPECT_EQ(itemNamed(flatpaks, "GIMP")["action"],
            "as administrator: 'flatpak' 'uninstall' '--system' '--noninteractive' 'org.gimp.GIMP'");
  EXPECT_EQ(itemNamed(flatpaks, "Spotify")["action"], "flatpak uninstall --user --noninteractive com.spotify.Client");
  EXPECT_GE(itemNamed(flatpaks, "GIMP")["freeable"].get<std::int64_t>(), 3 * MiB);
  EXPECT_EQ(itemNamed(flatpaks, "GIMP data")["action"], "move to Trash: ~/.var/app/org.gimp.GIMP");
  const auto& firefox = itemNamed(groupWithId(output, "snap"), "firefox");
  EXPECT_EQ(firefox["action"], "as administrator: 'snap' 'remove' 'firefox'");
  EXPECT_EQ(firefox["size"], 5 * MiB) << "every revision the snap keeps";
  const auto& esr = itemNamed(groupWithId(output, "debian"), "Firefox ESR");
  EXPECT_EQ(esr["action"], "as administrator: 'apt-get' 'purge' '-y' 'firefox-esr'");
  EXPECT_EQ(esr["size"], 254601 * 1024);
  EXPECT_THAT(esr["warning"].get<std::string>(), HasSubstr("depend on firefox-esr"));
  EXPECT_EQ(itemNamed(groupWithId(output, "appimages"), "Editor")["action"],
            "move to Trash: ~/Applications/Editor.AppImage, ~/.local/share/applications/appimagekit_1-Editor.desktop");
  EXPECT_EQ(standInCalls(dpkg), (std::vector<std::string>{"-S /usr/share/applications/base.desktop "
                                                          "/usr/share/applications/firefox-esr.desktop"}))
      << "entries hidden from the menu are not looked up";
}

TEST_F(AppsCommand, CleanRemovesTheTickedLeftoversWithOnePasswordPrompt) {
  const auto clean = run({"apps", "clean", "--selected", "--yes"});
  ASSERT_EQ(clean.code, 0) << clean.out << clean.err;
  EXPECT_THAT(clean.out, HasSubstr("3 done"));
  EXPECT_EQ(standInCalls(bin + "/pkexec").size(), 1u);
  EXPECT_EQ(standInCalls(aptGet), std::vector<std::string>{"purge -y oldpkg"});
  for (const auto& path : {home / ".var/app/org.gone.App", home / "snap/gone-app"}) EXPECT_FALSE(exists(path)) << path;
  EXPECT_TRUE(exists(home / ".local/share/Trash/info/org.gone.App.trashinfo"));
  EXPECT_TRUE(exists(home / ".var/app/org.unlisted.App"));
  EXPECT_TRUE(standInCalls(flatpak).size() == 1 && standInCalls(snap).size() == 1) << "only listings ran";
}

TEST_F(AppsCommand, WithSnapdStoppedSnapIsNeverRunAndItsLeftoversAreNotTicked) {
  snapd.close();
  const auto output = list();
  EXPECT_THAT(output["note"].get<std::string>(), HasSubstr("snaps (snapd isn't running)"));
  EXPECT_TRUE(standInCalls(snap).empty());
  EXPECT_THAT(namesTicked(groupWithId(output, "leftovers")),
              UnorderedElementsAre("org.gone.App*", "org.unlisted.App", "gone-app", "firefox", "oldpkg*"));
}

}  // namespace
}  // namespace tw::test
