#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "core/platform_words.h"
#include "core/shell.h"
#include "support/fake_home.h"
#include "support/programs.h"

namespace tw::test {
namespace {

// Runs tidewarden with every git in the tool search list hidden behind the null device, in
// a private mount namespace; nothing when namespaces are not permitted here.
std::optional<RunResult> withoutGit(const FakeHome& home, const std::vector<std::string>& arguments,
                                    std::string& whyNot) {
  const auto probe = runProcess({"unshare", "--mount", "--propagation", "private", "true"});
  if (probe.code != 0) {
    whyNot = "private mount namespaces are not permitted here: " + probe.err;
    return std::nullopt;
  }
  std::string script = "set -e\n";
  for (const auto& folder : Shell::searchPaths(home.path())) {
    script += "if [ -e '" + folder + "/git' ]; then mount --bind /dev/null '" + folder + "/git'; fi\n";
  }
  script += "exec \"$TW\" \"$@\"\n";
  std::vector<std::string> command{"unshare", "--mount", "--propagation", "private", "sh", "-c", script, "sh"};
  command.insert(command.end(), arguments.begin(), arguments.end());
  return runProcess(command, {{"TW", tidewardenBinary()}});
}

}  // namespace

TEST(LinuxWords, WithoutGitTheScreensAdviseThePackageManager) {
  FakeHome home;
  home.folder("code/app/.git");
  std::string whyNot;
  for (const auto& [screen, purpose] : {std::pair{"worktrees", "manage worktrees"}, {"git", "inspect repositories"}}) {
    const auto run = withoutGit(home, {screen, "--json"}, whyNot);
    if (!run) GTEST_SKIP() << whyNot;
    ASSERT_EQ(run->code, 0) << run->err;
    EXPECT_EQ(nlohmann::json::parse(run->out)["note"],
              std::string("Git isn't installed. Install the git package with your package manager (for example sudo "
                          "apt install git) to ") +
                  purpose + ".");
  }
}

TEST(LinuxWords, TheMacKeepsItsOwnWords) {
  EXPECT_EQ(gitMissingNote(macOSWords(), "manage worktrees"),
            "Git isn't installed. Install the Xcode Command Line Tools to manage worktrees.");
  EXPECT_EQ(macOSWords().sharedCopies, "APFS clones");
  for (const auto* words : {&linuxWords().installGit, &linuxWords().sharedCopies, &linuxWords().cloneTarget,
                            &linuxWords().safeClean, &linuxWords().systemDataBlurb}) {
    EXPECT_EQ(words->find("Xcode"), std::string::npos) << *words;
    EXPECT_EQ(words->find("APFS"), std::string::npos) << *words;
    EXPECT_EQ(words->find("macOS"), std::string::npos) << *words;
  }
}

TEST(LinuxWords, JunkLeavesOutCategoriesWithNowhereToLook) {
  FakeHome home;
  home.file("Library/Developer/Xcode/DerivedData/App/x", 4096);
  const auto result = runTidewarden({"junk", "--json"});
  ASSERT_EQ(result.code, 0) << result.err;
  const auto answer = nlohmann::json::parse(result.out);
  for (const auto& category : answer["categories"]) {
    EXPECT_NE(category["id"], "xcode");
    EXPECT_EQ(category["detail"].get<std::string>().find("Library"), std::string::npos) << category["detail"];
  }
  const auto text = runTidewarden({"junk"});
  EXPECT_EQ(text.out.find("Xcode"), std::string::npos) << text.out;
}

}  // namespace tw::test
