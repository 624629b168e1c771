#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <string>

#include "core/app_paths.h"
#include "core/settings.h"
#include "fs/file_io.h"
#include "fs/path.h"
#include "support/fake_home.h"

// A settings file that cannot be read never widens where Tidewarden deletes: listings go on
// with the defaults and say so, removing commands refuse naming the file, and the file is
// left exactly as the user had it.
namespace tw::test {
namespace {

const std::vector<std::vector<std::string>> removingRuns{
    {"trash", "empty", "--yes"}, {"clean", "--safe", "--yes"}, {"projects", "clean", "--selected", "--yes"}};

std::size_t occurrences(const std::string& text, const std::string& part) {
  std::size_t count = 0;
  for (auto at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) ++count;
  return count;
}

class DamagedSettings : public ::testing::Test {
 protected:
  void SetUp() override {
    home_.file("code/app/package.json", 20);
    home_.file("code/app/node_modules/dep/index.js", 40'000);
    home_.file("elsewhere/app/package.json", 20);
    home_.file("elsewhere/app/node_modules/dep/index.js", 40'000);
    home_.file(".cache/pip/http/wheel", 50'000);
    // Both projects idle for 40 days, so their artifacts are pre-selected.
    setModificationTime(home_ / "code/app", 40 * 86400);
    setModificationTime(home_ / "elsewhere/app", 40 * 86400);
    path_ = settingsFilePath(home_.context());
    (void)createDirectories(parentPath(path_));
  }

  // The user limited projects to ~/code; the damage must not widen that to the whole home.
  void expectRefusedAndKept(const std::string& what) {
    for (const auto& command : removingRuns) {
      const auto run = runTidewardenWithin(20, command);
      EXPECT_EQ(run.code, 1) << what << ": " << command.front() << run.out;
      EXPECT_NE(run.err.find("Refusing to delete anything: the settings file " + path_ + " is damaged ("),
                std::string::npos)
          << what << ": " << run.err;
    }
    EXPECT_TRUE(exists(home_ / "elsewhere/app/node_modules/dep/index.js")) << what;
    EXPECT_TRUE(exists(home_ / "code/app/node_modules/dep/index.js")) << what;
    EXPECT_TRUE(exists(home_ / ".cache/pip/http/wheel")) << what;

    const auto listing = runTidewardenWithin(20, {"projects", "--json"});
    EXPECT_EQ(listing.code, 0) << what << ": " << listing.err;
    EXPECT_TRUE(nlohmann::json::accept(listing.out)) << what;
    EXPECT_EQ(occurrences(listing.err, "settings file " + path_ + " is damaged"), 1u) << what << ": " << listing.err;
    const auto preview = runTidewardenWithin(20, {"clean", "--safe", "--dry-run"});
    EXPECT_EQ(preview.code, 0) << what << ": " << preview.err;
    EXPECT_FALSE(exists(path_ + ".bad")) << what;
  }

  FakeHome home_;
  std::string path_;
};

TEST_F(DamagedSettings, TextThatIsNotAnObjectMakesRemovingCommandsRefuseAndStaysByteForByte) {
  for (const std::string& damaged : {std::string("{\"projectRoots\": [\"") + home_.path() + "/code\"", std::string(),
                                     std::string("[1, 2]"), std::string("{\"projectRoots\": [\"/caf\xe9\"]}")}) {
    writeFile(path_, damaged);
    expectRefusedAndKept(damaged);
    EXPECT_EQ(readFile(path_), damaged);
  }
}

TEST_F(DamagedSettings, AFifoADeviceOrAHugeSparseFileIsDamagedAtOnceNeverAWait) {
  ASSERT_EQ(::mkfifo(path_.c_str(), 0600), 0);
  expectRefusedAndKept("fifo");
  struct stat info {};
  ASSERT_EQ(::lstat(path_.c_str(), &info), 0);
  EXPECT_TRUE(S_ISFIFO(info.st_mode));

  ASSERT_EQ(::unlink(path_.c_str()), 0);
  ASSERT_EQ(::symlink("/dev/zero", path_.c_str()), 0);  // endless if ever read
  expectRefusedAndKept("device");

  ASSERT_EQ(::unlink(path_.c_str()), 0);
  {
    const int fd = ::open(path_.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
    ASSERT_GE(fd, 0);
    ASSERT_EQ(::ftruncate(fd, 3LL << 30), 0);  // 3 GB of nothing
    ::close(fd);
  }
  expectRefusedAndKept("3 GB sparse file");
  ASSERT_EQ(::stat(path_.c_str(), &info), 0);
  EXPECT_EQ(info.st_size, 3LL << 30);
}

TEST_F(DamagedSettings, OnceRepairedTheUsersRootsHoldAgainAndRemovalsGoOn) {
  writeFile(path_, "{\"projectRoots\": [");
  expectRefusedAndKept("cut short");
  writeFile(path_, nlohmann::json{{"projectRoots", {home_ / "code"}}}.dump());
  const auto run = runTidewardenWithin(20, {"projects", "clean", "--selected", "--yes"});
  EXPECT_EQ(run.code, 0) << run.err;
  EXPECT_EQ(run.err.find("damaged"), std::string::npos) << run.err;
  EXPECT_FALSE(exists(home_ / "code/app/node_modules"));
  EXPECT_TRUE(exists(home_ / "elsewhere/app/node_modules/dep/index.js"));
}

}  // namespace
}  // namespace tw::test
