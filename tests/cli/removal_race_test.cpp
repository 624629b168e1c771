#include <fcntl.h>
#include <gtest/gtest.h>
#include <linux/fs.h>
#include <stdio.h>
#include <unistd.h>

#include <atomic>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <thread>

#include "support/fake_home.h"

// A hostile neighbour swaps a folder inside the home for a link to somewhere else, back and
// forth, while a removal command runs. Whatever the timing, nothing outside may go.
namespace tw::test {
namespace {

constexpr int itemCount = 120;
constexpr int rounds = 8;
constexpr std::int64_t day = 86400;

// Exchanges `folder` and `link` (two names, atomically) over and over until stopped, then
// leaves the real folder back in place.
class Swapper {
 public:
  Swapper(std::string folder, std::string link) : folder_(std::move(folder)), link_(std::move(link)) {
    thread_ = std::thread([this] {
      while (!stop_.load()) {
        if (exchange() == 0) ++swaps_;
      }
      if (swaps_ % 2 == 1) (void)exchange();
    });
  }
  ~Swapper() { stop(); }
  Swapper(const Swapper&) = delete;
  Swapper& operator=(const Swapper&) = delete;

  long stop() {
    stop_ = true;
    if (thread_.joinable()) thread_.join();
    return swaps_;
  }

 private:
  int exchange() { return ::renameat2(AT_FDCWD, folder_.c_str(), AT_FDCWD, link_.c_str(), RENAME_EXCHANGE); }

  std::string folder_, link_;
  std::atomic<bool> stop_{false};
  long swaps_ = 0;
  std::thread thread_;
};

// Files outside the home, laid out like the home folder that is swapped for a link to
// them, so that a removal led through the link finds the names it looks for.
struct Canaries {
  TempFolder outside{"tw-canary-safety"};
  std::vector<std::string> files;

  void plant(const std::string& relative) {
    files.push_back(outside / relative);
    writeFilledFile(files.back(), 100);
  }
  [[nodiscard]] int missing() const {
    int count = 0;
    for (const auto& file : files) count += exists(file) ? 0 : 1;
    return count;
  }
};

// Runs the command while `folder` (inside the home) keeps trading places with a link to
// the same place under the canaries' folder; `fill` puts the items back before each round.
void runWhileSwapping(const FakeHome& home, const std::string& folder, const Canaries& canaries,
                      const std::vector<std::string>& command, const std::function<void()>& fill,
                      const std::map<std::string, std::optional<std::string>>& environment = {}) {
  const std::string link = home / (folder + ".decoy");
  makeFolders(link.substr(0, link.rfind('/')));
  ASSERT_EQ(::symlink((canaries.outside / folder).c_str(), link.c_str()), 0);
  for (int round = 0; round < rounds; ++round) {
    fill();
    Swapper swapper(home / folder, link);
    const auto result = runTidewarden(command, environment);
    const long swaps = swapper.stop();
    EXPECT_GT(swaps, 0);
    EXPECT_NE(result.code, 2) << result.err;
    ASSERT_EQ(canaries.missing(), 0) << "round " << round << ": " << result.out << result.err;
  }
}

TEST(RemovalUnderAttack, EmptyingTheTrashNeverDeletesOutsideWhenTheTrashIsSwappedForALink) {
  FakeHome home;
  Canaries canaries;
  const auto fill = [&] {
    for (int i = 0; i < itemCount; ++i) {
      const std::string name = "item" + std::to_string(i);
      home.file(".local/share/Trash/files/" + name + "/inner/data", 100);
      home.fileWithContents(".local/share/Trash/info/" + name + ".trashinfo",
                            "[Trash Info]\nPath=/tmp/" + name + "\nDeletionDate=2024-01-01T00:00:00\n");
    }
  };
  for (int i = 0; i < itemCount; ++i) {
    const std::string name = "item" + std::to_string(i);
    canaries.plant(".local/share/Trash/files/" + name + "/inner/data");
    canaries.plant(".local/share/Trash/info/" + name + ".trashinfo");
  }
  runWhileSwapping(home, ".local/share/Trash", canaries, {"trash", "empty", "--yes"}, fill);
}

TEST(RemovalUnderAttack, CleaningCachesNeverDeletesOutsideWhenTheCacheFolderIsSwappedForALink) {
  FakeHome home;
  Canaries canaries;
  // The cache folder two levels down, so that a folder above it can be swapped.
  const auto fill = [&] {
    for (int i = 0; i < itemCount; ++i) home.file("state/cache/app" + std::to_string(i) + "/blobs/data", 100);
  };
  for (int i = 0; i < itemCount; ++i) canaries.plant("state/cache/app" + std::to_string(i) + "/blobs/data");
  runWhileSwapping(home, "state", canaries, {"clean", "--safe", "--yes"}, fill,
                   {{"XDG_CACHE_HOME", home / "state/cache"}});
}

TEST(RemovalUnderAttack, CleaningProjectsNeverDeletesOutsideWhenAProjectFolderIsSwappedForALink) {
  FakeHome home;
  Canaries canaries;
  const auto fill = [&] {
    for (int i = 0; i < itemCount / 4; ++i) {
      const std::string project = "code/web" + std::to_string(i);
      home.file(project + "/package.json", 20);
      home.file(project + "/node_modules/dep/index.js", 100);
      writeFile(home / (project + "/.git/HEAD"), "ref: refs/heads/main\n");
      writeFile(home / (project + "/.git/index"), "DIRC");
      setModificationTime(home / (project + "/.git/index"), 40 * day);
    }
  };
  for (int i = 0; i < itemCount / 4; ++i) canaries.plant("code/web" + std::to_string(i) + "/node_modules/dep/index.js");
  runWhileSwapping(home, "code", canaries, {"projects", "clean", "--selected", "--yes"}, fill);
}

}  // namespace
}  // namespace tw::test
