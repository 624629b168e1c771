#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <string>

#include "core/dev_safety.h"
#include "core/settings.h"
#include "support/fake_home.h"

// Whatever the home folder and the project roots say, the file-system root and the
// system's own folders are never removed; removing commands refuse in one sentence while
// listings go on.
namespace tw::test {
namespace {

const std::vector<std::vector<std::string>> removingRuns{
    {"trash", "empty", "--yes"}, {"clean", "--safe", "--yes"}, {"projects", "clean", "--selected", "--yes"}};

TEST(RemovalFloor, AHomeFolderThatIsASystemFolderMakesRemovingCommandsRefuseButListingsWork) {
  FakeHome fake;  // keeps the XDG folders (and so the Trash) inside a temporary folder
  for (const std::string home : {"/", "/usr", "/etc/"}) {
    for (const auto& command : removingRuns) {
      const auto run = runTidewarden(command, {{"HOME", home}});
      EXPECT_EQ(run.code, 1) << home << " " << command.front();
      EXPECT_EQ(run.out, "");
      const std::string shown = home == "/etc/" ? "/etc" : home;
      EXPECT_EQ(run.err, "tidewarden: Refusing to delete anything: the home folder is " + shown +
                             ", a system folder; set HOME to your own folder.\n");
    }
    const auto listing = runTidewarden({"trash", "--json"}, {{"HOME", home}});
    EXPECT_EQ(listing.code, 0) << listing.err;
    const auto preview = runTidewarden({"trash", "empty", "--dry-run"}, {{"HOME", home}});
    EXPECT_EQ(preview.code, 0) << preview.err;
  }
}

TEST(RemovalFloor, AProjectRootThatIsASystemFolderMakesRemovingCommandsRefuseNamingTheSettings) {
  FakeHome home;
  home.file("code/app/node_modules/x.js", 100);
  home.context().settings->set(DevSettings::projectRootsKey, nlohmann::json::array({home / "code", "/usr"}));
  for (const auto& command : removingRuns) {
    const auto run = runTidewarden(command);
    EXPECT_EQ(run.code, 1) << command.front();
    EXPECT_EQ(run.err,
              "tidewarden: Refusing to delete anything: the project folder /usr is a system folder; "
              "remove it from projectRoots in " +
                  home.context().settings->path() + ".\n");
  }
  EXPECT_TRUE(exists(home / "code/app/node_modules/x.js"));
}

TEST(RemovalFloor, TheGuardsRefuseSystemFoldersWhateverTheRootsSay) {
  FakeHome home;
  Context context = home.context();
  context.settings->set(DevSettings::projectRootsKey, nlohmann::json::array({"/", "/etc", "/usr/share"}));
  for (const std::string path : {"/usr/share/doc/x", "/etc/ssh/sshd_config", "/var/lib/x", "/tmp/a/b"}) {
    EXPECT_FALSE(DevSafety::canRemove(path, context)) << path;
  }
  EXPECT_TRUE(DevSafety::canRemove(home / "code/app", context)) << "the home folder still counts";
  context.home = "/";
  EXPECT_FALSE(DevSafety::canRemove("/tmp/a/b", context));
  for (const std::string homeFolder : {"/", "/usr", "/home", "/etc"}) {
    EXPECT_FALSE(DevSafety::deepInsideHome(homeFolder + "/a/b", homeFolder)) << homeFolder;
  }
  EXPECT_TRUE(DevSafety::deepInsideHome("/home/someone/a/b", "/home/someone"));
}

}  // namespace
}  // namespace tw::test
