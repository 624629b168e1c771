#include <gtest/gtest.h>

#include <filesystem>
#include <sstream>

#include "core/version.h"
#include "dist/dist_paths.h"
#include "support/fake_home.h"
#include "support/programs.h"

namespace tw::test {
namespace {

std::string trimmed(std::string text) {
  while (!text.empty() && (text.back() == '\n' || text.back() == ' ')) text.pop_back();
  return text;
}

// One field of the package's control file.
std::string field(const std::string& deb, const std::string& name) {
  return trimmed(runProcess({"dpkg-deb", "--field", deb, name}).out);
}

// The .deb built by cpack from the already built tree, in a folder of its own so the build
// tree stays as it was.
class DebianPackage : public ::testing::Test {
 protected:
  void SetUp() override {
    if (TIDEWARDEN_SANITIZED) {
      GTEST_SKIP() << "the package is built and checked from the plain build; an instrumented binary never ships";
    }
    for (const char* tool : {"dpkg-deb", "dpkg-shlibdeps", "file"}) {
      if (!isInstalled(tool)) GTEST_SKIP() << tool << " is not installed; it is needed to build the package";
    }
    const auto packed =
        runProcess({TIDEWARDEN_CPACK, "-G", "DEB", "--config", buildPath("CPackConfig.cmake"), "-B", work_.path()});
    ASSERT_EQ(packed.code, 0) << packed.out << packed.err;
    const std::string architecture = trimmed(runProcess({"dpkg", "--print-architecture"}).out);
    deb_ = work_ / ("tidewarden_" + std::string(tw::version) + "_" + architecture + ".deb");
    ASSERT_TRUE(exists(deb_)) << packed.out;
  }

  TempFolder work_{"tw-package"};
  std::string deb_;
};

TEST_F(DebianPackage, DescribesItselfWithTheVersionAndTheLibrariesItLinks) {
  EXPECT_EQ(field(deb_, "Package"), "tidewarden");
  EXPECT_EQ(field(deb_, "Version"), tw::version);
  EXPECT_EQ(field(deb_, "Section"), "utils");
  EXPECT_FALSE(field(deb_, "Maintainer").empty());
  EXPECT_TRUE(field(deb_, "Homepage").starts_with("https://"));
  const std::string depends = field(deb_, "Depends");
  for (const std::string library : {"libc6 (>=", "libstdc++6 (>=", "libfmt", "libcurl4", "libssl3"}) {
    EXPECT_NE(depends.find(library), std::string::npos) << depends;
  }

  // No maintainer scripts and no configuration files: removing the package leaves nothing.
  const auto info = runProcess({"dpkg-deb", "--info", deb_});
  ASSERT_EQ(info.code, 0);
  for (const std::string script : {"preinst", "postinst", "prerm", "postrm", "conffiles"}) {
    EXPECT_EQ(info.out.find(" " + script + " "), std::string::npos) << info.out;
  }
}

TEST_F(DebianPackage, UnpacksUnderUsrAndTheProgramRunsFromThere) {
  TempFolder root("tw-package-root");
  ASSERT_EQ(runProcess({"dpkg", "-x", deb_, root.path()}).code, 0);
  for (const auto& entry : std::filesystem::directory_iterator(root.path())) {
    EXPECT_EQ(entry.path().filename(), "usr") << "the package writes only below /usr";
  }
  const auto help = runProcess({root / "usr/bin/tidewarden", "help"});
  EXPECT_EQ(help.code, 0) << help.err;
  EXPECT_TRUE(help.out.starts_with("Tidewarden: disk cleanup for developers.")) << help.out;
  for (const std::string file :
       {"usr/share/applications/tidewarden.desktop", "usr/share/man/man1/tidewarden.1.gz",
        "usr/share/zsh/vendor-completions/_tidewarden", "usr/share/bash-completion/completions/tidewarden",
        "usr/share/fish/vendor_completions.d/tidewarden.fish", "usr/share/icons/hicolor/48x48/apps/tidewarden.png",
        "usr/share/doc/tidewarden/copyright"}) {
    EXPECT_TRUE(exists(root / file)) << file;
  }
}

// Commands start without the UI toolkit, TLS or hashing libraries; each is loaded by the few
// that need it. The window's module, installed with the libraries, brings Qt in for a bare start.
TEST_F(DebianPackage, TheProgramLoadsTheWindowAndTheLibrariesFewCommandsNeedOnlyWhenNeeded) {
  const std::string installed = TIDEWARDEN_INSTALLED_WINDOW_MODULE;
  if (installed.empty()) GTEST_SKIP() << "this build has no windowed app";
  TempFolder root("tw-package-root");
  ASSERT_EQ(runProcess({"dpkg", "-x", deb_, root.path()}).code, 0);
  const std::string module = root / ("usr/" + installed);
  ASSERT_TRUE(exists(module)) << module;
  const std::string linked = runProcess({"ldd", root / "usr/bin/tidewarden"}).out;
  for (const std::string library : {"libQt", "libcrypto", "libcurl"}) {
    EXPECT_EQ(linked.find(library), std::string::npos) << linked;
  }
  EXPECT_NE(runProcess({"ldd", module}).out.find("libQt6Widgets"), std::string::npos);

  // Without a display the module says so: it was found and loaded from where it was installed.
  const auto bare =
      runProcess({root / "usr/bin/tidewarden"},
                 {{"DISPLAY", std::nullopt}, {"WAYLAND_DISPLAY", std::nullopt}, {"QT_QPA_PLATFORM", std::nullopt}});
  EXPECT_EQ(bare.code, 1);
  EXPECT_NE(bare.err.find("there is no display to open the window on"), std::string::npos) << bare.err;
}

TEST_F(DebianPackage, LintianFindsNoErrorsOrWarnings) {
  if (!isInstalled("lintian")) GTEST_SKIP() << "lintian is not installed";
  const auto checked = runProcess({"lintian", "--no-cfg", "--display-info", deb_});
  // Every finding is printed, so the informational ones show in the test log too.
  std::cout << checked.out;
  std::istringstream findings(checked.out);
  for (std::string line; std::getline(findings, line);) {
    EXPECT_FALSE(line.starts_with("E:") || line.starts_with("W:")) << line;
  }
}

}  // namespace
}  // namespace tw::test
