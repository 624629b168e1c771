#include <gtest/gtest.h>

#include <filesystem>
#include <set>

#include "core/version.h"
#include "dist/dist_paths.h"
#include "support/fake_home.h"
#include "support/programs.h"

namespace tw::test {
namespace {

const std::vector<int> iconSizes{16, 24, 32, 48, 64, 128, 256, 512};

// Every file under `root`, relative to it.
std::set<std::string> filesUnder(const std::string& root) {
  std::set<std::string> files;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(root)) {
    if (!entry.is_directory()) files.insert(std::filesystem::relative(entry.path(), root).string());
  }
  return files;
}

// Width and height from a PNG's header chunk.
std::pair<int, int> pngSize(const std::string& path) {
  const std::string bytes = readFile(path);
  if (bytes.size() < 24 || bytes.substr(1, 3) != "PNG" || bytes.substr(12, 4) != "IHDR") return {0, 0};
  const auto number = [&](std::size_t at) {
    int value = 0;
    for (std::size_t i = at; i < at + 4; ++i) value = value * 256 + static_cast<unsigned char>(bytes[i]);
    return value;
  };
  return {number(16), number(20)};
}

// `cmake --install` of the built tree into a staging root, as packagers do.
class Installation : public ::testing::Test {
 protected:
  std::string install(const std::string& prefix) const {
    const auto result = runProcess({TIDEWARDEN_CMAKE, "--install", TIDEWARDEN_BUILD_DIR, "--prefix", prefix},
                                   {{"DESTDIR", root_.path()}});
    EXPECT_EQ(result.code, 0) << result.err;
    return root_.path() + prefix;
  }

  TempFolder root_{"tw-install"};
};

TEST_F(Installation, PutsEveryFileInItsFreedesktopAndFhsPlace) {
  const std::string prefix = install("/usr/local");
  std::set<std::string> expected{"bin/tidewarden",
                                 "share/applications/tidewarden.desktop",
                                 "share/metainfo/io.github.tidewarden.Tidewarden.metainfo.xml",
                                 "share/icons/hicolor/scalable/apps/tidewarden.svg",
                                 "share/man/man1/tidewarden.1.gz",
                                 "share/bash-completion/completions/tidewarden",
                                 "share/zsh/site-functions/_tidewarden",
                                 "share/fish/vendor_completions.d/tidewarden.fish",
                                 "share/doc/tidewarden/copyright",
                                 "share/doc/tidewarden/changelog.gz"};
  for (const int size : iconSizes) {
    expected.insert("share/icons/hicolor/" + std::to_string(size) + "x" + std::to_string(size) +
                    "/apps/tidewarden.png");
  }
  if (const std::string module = TIDEWARDEN_INSTALLED_WINDOW_MODULE; !module.empty()) expected.insert(module);
  EXPECT_EQ(filesUnder(root_.path() + "/usr/local"), expected);

  const auto help = runProcess({prefix + "/bin/tidewarden", "help"});
  EXPECT_EQ(help.code, 0);
  EXPECT_TRUE(help.out.starts_with("Tidewarden: disk cleanup for developers.")) << help.out;
  EXPECT_EQ(readFile(prefix + "/share/bash-completion/completions/tidewarden"),
            readFile(sourcePath("dist/completions/tidewarden.bash")));
  EXPECT_EQ(runProcess({"gzip", "-dc", prefix + "/share/man/man1/tidewarden.1.gz"}).out,
            readFile(buildPath("dist/tidewarden.1")));
}

TEST_F(Installation, IconsAreRenderedAtTheSizeTheirFolderNames) {
  const std::string prefix = install("/usr/local");
  for (const int size : iconSizes) {
    const std::string folder = std::to_string(size) + "x" + std::to_string(size);
    EXPECT_EQ(pngSize(prefix + "/share/icons/hicolor/" + folder + "/apps/tidewarden.png"), std::make_pair(size, size))
        << folder;
  }
  EXPECT_NE(readFile(prefix + "/share/icons/hicolor/scalable/apps/tidewarden.svg").find("<svg"), std::string::npos);
}

TEST_F(Installation, TheZshCompletionGoesWhereDebiansZshLooksUnderEachPrefix) {
  install("/usr");
  EXPECT_TRUE(exists(root_ / "usr/share/zsh/vendor-completions/_tidewarden"));
  EXPECT_FALSE(exists(root_ / "usr/share/zsh/site-functions"));
  install("/usr/local");
  EXPECT_TRUE(exists(root_ / "usr/local/share/zsh/site-functions/_tidewarden"));
}

TEST_F(Installation, TheDesktopEntryStartsTheWindowAndPassesItsValidator) {
  const std::string entry = readFile(install("/usr/local") + "/share/applications/tidewarden.desktop");
  EXPECT_NE(entry.find("\nExec=tidewarden\n"), std::string::npos) << "a bare start opens the window";
  EXPECT_NE(entry.find("\nIcon=tidewarden\n"), std::string::npos);

  if (!isInstalled("desktop-file-validate")) GTEST_SKIP() << "desktop-file-validate is not installed";
  const auto validated =
      runProcess({"desktop-file-validate", root_ / "usr/local/share/applications/tidewarden.desktop"});
  EXPECT_EQ(validated.code, 0);
  EXPECT_EQ(validated.out + validated.err, "") << "hints and warnings count too";
}

TEST_F(Installation, TheAppStreamMetadataNamesThisVersionAndPassesItsValidator) {
  const std::string path = install("/usr/local") + "/share/metainfo/io.github.tidewarden.Tidewarden.metainfo.xml";
  const std::string metadata = readFile(path);
  EXPECT_NE(metadata.find("<release version=\"" + std::string(tw::version) + "\""), std::string::npos);
  EXPECT_NE(metadata.find("<launchable type=\"desktop-id\">tidewarden.desktop</launchable>"), std::string::npos);
  EXPECT_NE(metadata.find("<binary>tidewarden</binary>"), std::string::npos);

  if (!isInstalled("appstreamcli")) GTEST_SKIP() << "appstreamcli is not installed";
  const auto validated = runProcess({"appstreamcli", "validate", "--no-net", "--explain", path});
  EXPECT_EQ(validated.code, 0) << validated.out << validated.err;
  EXPECT_EQ(validated.out.find("W:"), std::string::npos) << validated.out;
  EXPECT_EQ(validated.out.find("I:"), std::string::npos) << validated.out;
}

}  // namespace
}  // namespace tw::test
