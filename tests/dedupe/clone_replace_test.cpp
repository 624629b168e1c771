#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <sstream>
#include <thread>

#include "dedupe/block_sharing.h"
#include "dedupe/dedupe.h"
#include "dedupe/file_state.h"
#include "dedupe/open_files.h"
#include "dedupe_fixtures.h"
#include "fs/file_flags.h"
#include "fs/unique_fd.h"
#include "support/fake_home.h"
#include "support/loop_volume.h"

namespace tw::test {
namespace {

// What a user could notice about a file besides its blocks.
std::string looksOf(const std::string& path) {
  struct stat info {};
  ::lstat(path.c_str(), &info);
  std::ostringstream out;
  out << "ino " << info.st_ino << " mode " << std::oct << info.st_mode << std::dec << " owner " << info.st_uid << ":"
      << info.st_gid << " size " << info.st_size << " mtime " << info.st_mtim.tv_sec << "." << info.st_mtim.tv_nsec
      << " ctime " << info.st_ctim.tv_sec << "." << info.st_ctim.tv_nsec << "\n"
      << runProcess({"getfattr", "-d", "-m", "-", "--absolute-names", path}).out
      << runProcess({"getfacl", "-c", "--absolute-names", path}).out;
  return out.str();
}

FileIdentity keyOf(const std::string& path) { return identityOfPath(path).value_or(FileIdentity{}); }

TEST(OpenFiles, SeesFilesOtherProcessesHoldButNotOurOwnAndLooksAgainWhenAProgramHasStarted) {
  FakeHome home;
  const auto theirs = put(home / "theirs.txt", "held by a child");
  const auto launched = put(home / "launched.txt", "opened by a program started later");
  const auto ours = put(home / "ours.txt", "held by this process");
  const UniqueFd ownDescriptor{::open(ours.c_str(), O_RDONLY | O_CLOEXEC)};
  ASSERT_TRUE(ownDescriptor);
  HeldOpen running(theirs, HeldOpen::Later{});
  EXPECT_FALSE(OpenFiles::recent(60)->contains(keyOf(theirs)));

  // A process that was there already opens the file: a fresh look sees it. (Whether a young
  // look is reused depends on no other program starting meanwhile, which a busy machine
  // cannot promise, so that is not checked here.)
  running.open();
  const auto files = OpenFiles::snapshot();
  EXPECT_TRUE(files.contains(keyOf(theirs)));
  EXPECT_FALSE(files.contains(keyOf(ours)));
  EXPECT_TRUE(OpenFiles::recent(0)->contains(keyOf(theirs)));
  EXPECT_TRUE(OpenFiles::recent(60)->contains(keyOf(theirs)));

  // A program started since is looked at again, however young the last look; the system
  // says a process started by moving on the last ID it gave out.
  const auto before = OpenFiles::lastStarted();
  ASSERT_TRUE(before) << "/proc/loadavg names the last process started";
  HeldOpen started(launched);
  EXPECT_NE(OpenFiles::lastStarted(), before);
  EXPECT_TRUE(OpenFiles::recent(60)->contains(keyOf(launched)));
}

TEST(CloneReplace, SharedCopyGivesItsSpaceBackAndKeepsEverythingElseOnXfsAndBtrfs) {
  FakeHome home;
  std::string whyNot;
  int checked = 0;
  for (const auto& [kind, minimumReturned] :
       {std::pair{LoopVolume::Kind::xfsReflink, 40 * MiB}, std::pair{LoopVolume::Kind::btrfs, 32 * MiB}}) {
    const auto volume = LoopVolume::mount(kind, 400 * MiB, whyNot);
    if (!volume) continue;
    ++checked;
    // Several sharing requests and a tail that ends inside a block.
    const std::string data = randomBytes(40 * MiB + 123, 21);
    const auto keep = put(volume->path() + "/a/keep.bin", data);
    const auto copy = put(volume->path() + "/b/copy.bin", data);
    ASSERT_EQ(runProcess({"setfattr", "-n", "user.origin", "-v", "downloaded", copy}).code, 0);
    ASSERT_EQ(runProcess({"setfacl", "-m", "u:nobody:r", copy}).code, 0);
    ASSERT_EQ(::chmod(copy.c_str(), 0640), 0);
    setModificationTime(copy, 86'400 * 40);
    const std::string before = looksOf(copy);
    const std::string keepBefore = looksOf(keep);
    ASSERT_NE(before.find("user.origin=\"downloaded\""), std::string::npos) << before;
    ASSERT_NE(before.find("user:nobody:r--"), std::string::npos) << before;
    const std::int64_t freeBefore = volume->freeBytes();

    EXPECT_TRUE(volumeCanShare(keep)) << volume->path();
    EXPECT_EQ(Dedupe::cloneReplace(keep, {copy}), std::nullopt);

    EXPECT_EQ(looksOf(copy), before);
    EXPECT_EQ(looksOf(keep), keepBefore);
    EXPECT_EQ(readFile(copy), data);
    EXPECT_EQ(readFile(keep), data);
    EXPECT_TRUE(sameBlocks(keep, copy)) << volume->path();
    EXPECT_GE(sharedBytes(copy), 40 * MiB);
    EXPECT_GE(volume->freeBytes() - freeBefore, minimumReturned) << volume->path();
  }
  if (checked < 2) std::cout << "checked " << checked << " of 2 volumes: " << whyNot << "\n";
  if (checked == 0) GTEST_SKIP() << whyNot;
}

using CloneReplaceOnXfs = OnXfs;

TEST_F(CloneReplaceOnXfs, CopyChangedAfterTheScanIsNoLongerIdenticalAndKeepsItsBytes) {
  const struct {
    std::int64_t size;
    std::int64_t changedAt;
    std::string reason;
    std::int64_t sharedAtLeast;
  } cases[] = {
      {3 * MiB, 2 * MiB, "copy.bin: no longer identical", 0},
      // Far into a large file the chunks before the difference are shared already.
      {40 * MiB, 30 * MiB, "copy.bin: no longer identical; partly shared", 16 * MiB},
  };
  for (const auto& [size, changedAt, reason, sharedAtLeast] : cases) {
    const std::string data = randomBytes(size, 22);
    const auto keep = put(on("keep.bin"), data);
    std::string changed = data;
    changed[static_cast<std::size_t>(changedAt)] ^= 0x55;
    const auto copy = put(on("copy.bin"), changed);
    const std::string before = looksOf(copy);

    EXPECT_EQ(Dedupe::cloneReplace(keep, {copy}), reason);

    EXPECT_EQ(readFile(copy), changed) << reason;
    EXPECT_EQ(readFile(keep), data) << reason;
    EXPECT_EQ(looksOf(copy), before) << reason;
    EXPECT_EQ(sharedBytes(copy) > 0, sharedAtLeast > 0) << reason;
    EXPECT_GE(sharedBytes(copy), sharedAtLeast) << reason;
  }
}

TEST_F(CloneReplaceOnXfs, SkippedCopiesAreCountedTheFirstThreeQuotedAndTheRestShared) {
  const std::string data = randomBytes(MiB, 26);
  const auto keep = put(on("keep.bin"), data);
  const auto good = put(on("good.bin"), data);
  const auto open = put(on("open.bin"), data);
  HeldOpen held(open);

  EXPECT_EQ(
      Dedupe::cloneReplace(keep, {on("gone-1.bin"), good, open, put(on("short.bin"), "x"), on("gone-2.bin")}),
      "4 of 5 copies skipped: gone-1.bin: missing; open.bin: open in another app; short.bin: no longer identical");
  EXPECT_TRUE(sameBlocks(keep, good));
  EXPECT_EQ(sharedBytes(open), 0);
  EXPECT_EQ(readFile(open), data);
  EXPECT_EQ(Dedupe::cloneReplace(on("nowhere.bin"), {good}), "nowhere.bin is missing or changed; rescan");
}

// A missing copy and one of another length show in the summary test.
TEST_F(CloneReplaceOnXfs, EachCheckRefusesWithItsOwnReason) {
  const std::string data = randomBytes(MiB, 25);
  const auto keep = put(on("keep.bin"), data);
  const auto linked = put(on("linked.bin"), data);
  ASSERT_EQ(::link(linked.c_str(), on("second-name.bin").c_str()), 0);
  ASSERT_EQ(::symlink(keep.c_str(), on("link.bin").c_str()), 0);
  const auto theirs = put(on("theirs.bin"), data);
  ASSERT_EQ(::chown(theirs.c_str(), 65534, 65534), 0);
  const auto locked = put(on("locked.bin"), data);
  ASSERT_EQ(runProcess({"chattr", "+i", locked}).code, 0);
  struct Unlock {
    std::string path;
    ~Unlock() { (void)clearProtectionFlags(path); }
  } unlock{locked};
  const auto keepState = linkState(keep);
  ASSERT_TRUE(keepState);

  const auto reason = [&](const std::string& copy) { return Dedupe::replace(copy, keep, *keepState, {}); };
  EXPECT_EQ(reason(on("link.bin")), "not a regular file");
  EXPECT_EQ(reason(linked), "hard-linked");
  EXPECT_EQ(reason(locked), "locked or protected");
  EXPECT_EQ(reason(put(home_ / "elsewhere.bin", data)), "on a different volume");
  EXPECT_EQ(reason(keep), "same file");
  EXPECT_EQ(reason(theirs), "owned by another user");
  for (const auto& untouched : {linked, theirs, locked}) EXPECT_EQ(sharedBytes(untouched), 0) << untouched;
  EXPECT_EQ(readFile(linked), data);
}

TEST_F(CloneReplaceOnXfs, SeveralSetsAtOnceReportTheSetsNotFullyShared) {
  const std::string first = randomBytes(512 * 1024, 27);
  const std::string second = randomBytes(512 * 1024, 28);
  const std::string third = randomBytes(512 * 1024, 29);
  Dedupe::DupSet ok{{put(on("1/a"), first), put(on("1/b"), first), put(on("1/c"), first)}, 524'288, 524'288};
  Dedupe::DupSet changed{{put(on("2/a"), second), put(on("2/b"), third)}, 524'288, 524'288};
  Dedupe::DupSet vanished{{put(on("3/a"), third), on("3/b")}, 524'288, 524'288};

  EXPECT_EQ(Dedupe::cloneReplace({ok, changed, vanished}),
            "2 of 3 sets not fully shared: b: no longer identical; b: missing");
  EXPECT_TRUE(sameBlocks(on("1/a"), on("1/b")));
  EXPECT_TRUE(sameBlocks(on("1/a"), on("1/c")));
  EXPECT_EQ(Dedupe::cloneReplace(std::vector<Dedupe::DupSet>{ok}), std::nullopt);
}

// The writer changes one stretch of the copy over and over while the copy is being
// shared; whichever comes first, the copy must end up holding the writer's bytes and the
// kept file its own.
TEST_F(CloneReplaceOnXfs, CopyRewrittenWhileSharingKeepsTheWritersBytes) {
  const std::string data = randomBytes(48 * MiB, 30);
  const std::int64_t where = 40 * MiB + 7;
  const std::string mark = "written by another process";
  std::string expected = data;
  expected.replace(static_cast<std::size_t>(where), mark.size(), mark);
  const auto written = [&](const std::string& path) {
    std::string bytes(mark.size(), '\0');
    const UniqueFd fd{::open(path.c_str(), O_RDONLY | O_CLOEXEC)};
    return fd && ::pread(fd.get(), bytes.data(), bytes.size(), where) == static_cast<ssize_t>(bytes.size()) &&
           bytes == mark;
  };
  for (const int delayMs : {0, 2, 10, 40}) {
    const auto keep = put(on("keep.bin"), data);
    const auto copy = put(on("copy.bin"), data);
    const auto keepState = linkState(keep);
    const auto copyState = linkState(copy);
    ASSERT_TRUE(keepState && copyState);
    // Started through a shell of its own so that it can be stopped as a group.
    const std::string writer = "sleep " + std::to_string(delayMs / 1000.0) + "; while :; do printf '" + mark +
                               "' | dd of='" + copy + "' bs=1 seek=" + std::to_string(where) +
                               " conv=notrunc status=none; done";
    const auto started = runProcess({"sh", "-c", "setsid sh -c \"" + writer + "\" >/dev/null 2>&1 & echo $!"});
    const auto writerGroup = static_cast<pid_t>(std::stol(started.out));
    const ShareOutcome outcome = shareWithKept(keep, *keepState, copy, *copyState);
    // Let the writer have its say at least once before it is stopped.
    for (int wait = 0; wait < 500 && !written(copy); ++wait) std::this_thread::sleep_for(std::chrono::milliseconds(10));
    ::kill(-writerGroup, SIGKILL);
    std::this_thread::sleep_for(std::chrono::milliseconds(50));

    EXPECT_EQ(readFile(copy), expected) << "delay " << delayMs;
    EXPECT_EQ(readFile(keep), data) << "delay " << delayMs;
    EXPECT_NE(outcome.status, ShareOutcome::Status::failed) << outcome.error.message();
    ::unlink(keep.c_str());
    ::unlink(copy.c_str());
  }
}

TEST(CloneReplaceElsewhere, VolumesThatCannotShareChangeNothing) {
  FakeHome home;
  std::string whyNot;
  std::vector<std::pair<std::string, std::unique_ptr<LoopVolume>>> volumes;
  volumes.emplace_back(home.path(), nullptr);
  for (const auto kind : {LoopVolume::Kind::ext4, LoopVolume::Kind::tmpfs, LoopVolume::Kind::xfsPlain}) {
    if (auto volume = LoopVolume::mount(kind, 320 * MiB, whyNot))
      volumes.emplace_back(volume->path(), std::move(volume));
  }
  for (const auto& [folder, volume] : volumes) {
    const std::string data = randomBytes(2 * MiB, 31);
    const auto keep = put(folder + "/keep.bin", data);
    const auto copy = put(folder + "/copy.bin", data);
    const std::string before = looksOf(copy);

    EXPECT_FALSE(volumeCanShare(keep)) << folder;
    EXPECT_EQ(Dedupe::cloneReplace(keep, {copy}), "copy.bin: volume doesn't support clones") << folder;
    EXPECT_EQ(looksOf(copy), before) << folder;
    EXPECT_EQ(readFile(copy), data) << folder;
  }
  if (volumes.size() < 4)
    std::cout << "checked the temporary folder and " << volumes.size() - 1 << " volumes: " << whyNot << "\n";
}

}  // namespace
}  // namespace tw::test
