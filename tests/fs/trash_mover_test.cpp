#include <gtest/gtest.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <regex>

#include "core/text.h"
#include "fs/trash_mover.h"
#include "support/fake_home.h"
#include "support/permissions.h"

namespace tw::test {
namespace {

std::string homeTrash(const FakeHome& home) { return home / ".local/share/Trash"; }

// Whether the Trash mover moved the path, into the fake home's Trash or its volume's.
bool trashed(const FakeHome& home, const std::string& path) {
  const Context context = home.context();
  return !moveToTrash(path, {context.home, context.dataHome});
}

std::vector<std::string> namesIn(const std::string& folder) {
  std::vector<std::string> names;
  std::error_code error;
  for (const auto& item : std::filesystem::directory_iterator(folder, error)) {
    names.push_back(item.path().filename().string());
  }
  std::sort(names.begin(), names.end());
  return names;
}

unsigned modeOf(const std::string& path) {
  struct stat info {};
  return ::lstat(path.c_str(), &info) == 0 ? info.st_mode & 07777 : 0;
}

// Lines of `trash-list`, without their deletion dates.
std::vector<std::string> trashListPaths() {
  std::vector<std::string> paths;
  const std::regex dated(R"(\d{4}-\d\d-\d\d \d\d:\d\d:\d\d (.*))");
  std::smatch match;
  for (const auto& line : splitLines(runProcess({"trash-list"}).out)) {
    if (std::regex_match(line, match, dated)) paths.push_back(match[1]);
  }
  std::sort(paths.begin(), paths.end());
  return paths;
}

// trash-restore asks which item to put back; answer "0" for the only one under `folder`.
RunResult restoreOnlyItemUnder(const std::string& folder) {
  return runProcess({"/bin/sh", "-c", "echo 0 | trash-restore \"$0\"", folder}, {}, folder);
}

// A small tmpfs visible only to this test process (its own mount namespace), standing in
// for a second volume.
class PrivateVolume {
 public:
  PrivateVolume() : path_(makeTempFolder("tw-volume")) {
    if (::unshare(CLONE_NEWNS) != 0) {
      reason_ = std::string("can't make a mount namespace: ") + std::strerror(errno);
    } else if (::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0) {
      reason_ = std::string("can't make mounts private: ") + std::strerror(errno);
    } else if (::mount("tmpfs", path_.c_str(), "tmpfs", 0, "size=8m,mode=0755") != 0) {
      reason_ = std::string("can't mount a tmpfs: ") + std::strerror(errno);
    }
  }
  ~PrivateVolume() {
    if (reason_.empty()) ::umount2(path_.c_str(), MNT_DETACH);
    ::rmdir(path_.c_str());
  }
  PrivateVolume(const PrivateVolume&) = delete;
  PrivateVolume& operator=(const PrivateVolume&) = delete;

  [[nodiscard]] const std::string& unavailableReason() const { return reason_; }
  [[nodiscard]] const std::string& path() const { return path_; }
  [[nodiscard]] std::string operator/(const std::string& relative) const { return path_ + "/" + relative; }

 private:
  std::string path_;
  std::string reason_;
};

}  // namespace

TEST(MoveToTrash, ItemsGoToTheHomeTrashWhereTrashCliListsAndRestoresThem) {
  FakeHome home;
  const auto file = home.fileWithContents("Documents/report 100% ready.txt", "report");
  home.fileWithContents("Projects/app/build/out/résumé.o", "object");
  const auto folder = home / "Projects/app/build";
  ASSERT_TRUE(trashed(home, file));
  ASSERT_TRUE(trashed(home, folder));
  EXPECT_FALSE(exists(file));
  EXPECT_FALSE(exists(folder));

  const std::string trash = homeTrash(home);
  EXPECT_EQ(readFile(trash + "/files/report 100% ready.txt"), "report");
  const std::string info = readFile(trash + "/info/report 100% ready.txt.trashinfo");
  EXPECT_TRUE(std::regex_match(info, std::regex("\\[Trash Info\\]\nPath=" + home.path() +
                                                "/Documents/report%20100%25%20ready\\.txt\n"
                                                "DeletionDate=\\d{4}-\\d\\d-\\d\\dT\\d\\d:\\d\\d:\\d\\d\n")))
      << info;
  for (const auto& made : {trash, trash + "/files", trash + "/info"}) EXPECT_EQ(modeOf(made), 0700u) << made;
  EXPECT_EQ(trashListPaths(), (std::vector<std::string>{file, folder}));

  const auto restored = restoreOnlyItemUnder(home / "Projects/app");
  EXPECT_EQ(restored.code, 0) << restored.err;
  EXPECT_EQ(readFile(folder + "/out/résumé.o"), "object");
  EXPECT_EQ(trashListPaths(), std::vector<std::string>{file});
  EXPECT_EQ(namesIn(trash + "/info"), std::vector<std::string>{"report 100% ready.txt.trashinfo"});
}

TEST(MoveToTrash, SameNameTwiceGetsAFreeNameAndBothCanBeListed) {
  FakeHome home;
  const auto first = home.fileWithContents("a/report.pdf", "first");
  const auto second = home.fileWithContents("b/report.pdf", "second");
  const auto third = home.fileWithContents("c/report.pdf", "third");
  const auto dotfile = home.fileWithContents("a/.profile", "one");
  const auto dotfileAgain = home.fileWithContents("b/.profile", "two");
  ASSERT_TRUE(trashed(home, first));
  ASSERT_TRUE(trashed(home, second));
  // An item left in files/ without its info file must not be overwritten.
  writeFile(homeTrash(home) + "/files/report.3.pdf", "stray");
  for (const auto& path : {third, dotfile, dotfileAgain}) ASSERT_TRUE(trashed(home, path)) << path;

  const std::string files = homeTrash(home) + "/files/";
  EXPECT_EQ(readFile(files + "report.pdf"), "first");
  EXPECT_EQ(readFile(files + "report.2.pdf"), "second");
  EXPECT_EQ(readFile(files + "report.3.pdf"), "stray");
  EXPECT_EQ(readFile(files + "report.4.pdf"), "third");
  EXPECT_EQ(readFile(files + ".profile.2"), "two");
  EXPECT_EQ(namesIn(homeTrash(home) + "/info"),
            (std::vector<std::string>{".profile.2.trashinfo", ".profile.trashinfo", "report.2.pdf.trashinfo",
                                      "report.4.pdf.trashinfo", "report.pdf.trashinfo"}));
  auto expected = std::vector<std::string>{dotfile, dotfileAgain, first, second, third};
  std::sort(expected.begin(), expected.end());
  EXPECT_EQ(trashListPaths(), expected);
}

TEST(MoveToTrash, ALinkIsTrashedItselfAndPathsAreRecordedWithoutLinks) {
  FakeHome home;
  const auto target = home.fileWithContents("keep/data.bin", "data");
  home.folder("links");
  ASSERT_EQ(::symlink(target.c_str(), (home / "links/data").c_str()), 0);
  ASSERT_TRUE(trashed(home, home / "links/data"));
  EXPECT_FALSE(exists(home / "links/data"));
  EXPECT_EQ(readFile(target), "data");
  struct stat info {};
  ASSERT_EQ(::lstat((homeTrash(home) + "/files/data").c_str(), &info), 0);
  EXPECT_TRUE(S_ISLNK(info.st_mode));

  const auto file = home.fileWithContents("real/folder/notes.txt", "n");
  ASSERT_EQ(::symlink((home / "real").c_str(), (home / "alias").c_str()), 0);
  ASSERT_TRUE(trashed(home, home / "alias//folder/./notes.txt"));
  EXPECT_EQ(trashListPaths(), (std::vector<std::string>{home / "links/data", file}));
}

TEST(MoveToTrash, NothingThereOrNothingMovableFailsLeavingNoInfoFile) {
  FakeHome home;
  EXPECT_FALSE(trashed(home, home / "missing.txt"));
  EXPECT_FALSE(trashed(home, "relative/path"));
  EXPECT_FALSE(trashed(home, "/"));
  EXPECT_TRUE(namesIn(homeTrash(home) + "/info").empty());

  const auto file = home.fileWithContents("locked/keep.txt", "k");
  bool moved = false;
  {
    ImmutableFolder locked(home / "locked");
    if (!locked.ok()) GTEST_SKIP() << "can't make a folder immutable here: " << locked.reason();
    moved = trashed(home, file);
  }
  EXPECT_FALSE(moved);
  EXPECT_EQ(readFile(file), "k");
  EXPECT_TRUE(namesIn(homeTrash(home) + "/info").empty());
  EXPECT_TRUE(trashListPaths().empty());
}

TEST(MoveToTrash, ItemOnAnotherVolumeGoesToThatVolumesOwnTrashNeverToAPlantedLink) {
  FakeHome home;
  PrivateVolume volume;
  if (!volume.unavailableReason().empty()) GTEST_SKIP() << volume.unavailableReason();
  EXPECT_FALSE(trashed(home, volume.path())) << "the mount point itself stays";
  EXPECT_TRUE(namesIn(volume.path()).empty());

  const auto file = volume / "work/big file.iso";
  writeFile(file, "iso");
  home.folder("elsewhere");
  const std::string trash = volume / (".Trash-" + std::to_string(::getuid()));
  ASSERT_EQ(::symlink((home / "elsewhere").c_str(), trash.c_str()), 0);
  EXPECT_FALSE(trashed(home, file));
  EXPECT_EQ(readFile(file), "iso");
  EXPECT_TRUE(namesIn(home / "elsewhere").empty());

  ASSERT_EQ(::unlink(trash.c_str()), 0);
  ASSERT_TRUE(trashed(home, file));
  EXPECT_FALSE(exists(file));
  EXPECT_EQ(modeOf(trash), 0700u);
  EXPECT_EQ(readFile(trash + "/files/big file.iso"), "iso");
  const std::string info = readFile(trash + "/info/big file.iso.trashinfo");
  EXPECT_NE(info.find("\nPath=work/big%20file.iso\n"), std::string::npos) << "relative to the volume: " << info;
  EXPECT_FALSE(exists(homeTrash(home) + "/files/big file.iso"));

  EXPECT_EQ(trashListPaths(), std::vector<std::string>{file});
  const auto restored = restoreOnlyItemUnder(volume / "work");
  EXPECT_EQ(restored.code, 0) << restored.err;
  EXPECT_EQ(readFile(file), "iso");
}

}  // namespace tw::test
