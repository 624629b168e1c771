#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <map>
#include <optional>

#include "fs/path.h"
#include "support/fake_home.h"
#include "support/programs.h"

namespace tw::test {
namespace {

const std::map<std::string, std::optional<std::string>> withoutDisplay{
    {"DISPLAY", std::nullopt}, {"WAYLAND_DISPLAY", std::nullopt}, {"QT_QPA_PLATFORM", std::nullopt}};

// A bare start loads the window's module from beside the program; whatever is wrong with it
// is said in one line and the program fails, without a crash.
class BareStart : public ::testing::Test {
 protected:
  void SetUp() override {
    module_ = joinPath(parentPath(tidewardenBinary()), "tidewarden-window.so");
    if (!exists(module_)) GTEST_SKIP() << "this build has no windowed app";
  }

  // A copy of the program alone in a folder of its own, with `module` beside it if given.
  std::string programAlone(const std::string& moduleContents = "") {
    const std::string program = folder_ / "tidewarden";
    std::filesystem::copy_file(tidewardenBinary(), program);
    if (!moduleContents.empty()) writeFile(folder_ / "tidewarden-window.so", moduleContents);
    return program;
  }

  FakeHome home_;
  TempFolder folder_{"tw-bare-start"};
  std::string module_;
};

TEST_F(BareStart, TheBuiltProgramLoadsItsModuleWhichSaysThereIsNoDisplay) {
  const auto result = runProcess({tidewardenBinary()}, withoutDisplay);
  EXPECT_EQ(result.code, 1);
  EXPECT_EQ(result.err,
            "tidewarden: there is no display to open the window on; run 'tidewarden help' for the commands\n");
}

TEST_F(BareStart, WithoutItsModuleTheProgramSaysSoAndCommandsStillWork) {
  const std::string program = programAlone();
  const auto bare = runProcess({program}, withoutDisplay);
  EXPECT_EQ(bare.code, 1);
  EXPECT_EQ(bare.err,
            "tidewarden: can't load the windowed app: tidewarden-window.so is not installed; run 'tidewarden help' for "
            "the commands\n");
  const auto help = runProcess({program, "help"});
  EXPECT_EQ(help.code, 0) << help.err;
  EXPECT_TRUE(help.out.starts_with("Tidewarden: disk cleanup for developers.")) << help.out;
}

TEST_F(BareStart, ADamagedModuleIsNamedWithTheLoadersReason) {
  const std::string program = programAlone("not a shared object\n");
  const auto bare = runProcess({program}, withoutDisplay);
  EXPECT_EQ(bare.code, 1);
  EXPECT_TRUE(
      bare.err.starts_with("tidewarden: can't load the windowed app: " + folder_.path() + "/tidewarden-window.so: "))
      << bare.err;
  EXPECT_EQ(std::count(bare.err.begin(), bare.err.end(), '\n'), 1) << bare.err;
}

}  // namespace
}  // namespace tw::test
