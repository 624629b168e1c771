#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <thread>

#include "core/file_flags.h"
#include "core/unique_fd.h"
#include "dedupe/block_sharing.h"
#include "dedupe/dedupe.h"
#include "dedupe/file_state.h"
#include "dedupe_fixtures.h"
#include "support/fake_home.h"
#include "support/loop_volume.h"

namespace tw::test {
namespace {

constexpr std::int64_t MiB = 1 << 20;

// What a user could notice about a file besides its blocks.
struct Looks {
  ino_t ino = 0;
  mode_t mode = 0;
  uid_t uid = 0;
  gid_t gid = 0;
  std::int64_t size = 0;
  timespec modified{};
  timespec changed{};
  std::string xattrs;
  std::string acl;

  bool operator==(const Looks& other) const {
    return ino == other.ino && mode == other.mode && uid == other.uid && gid == other.gid && size == other.size &&
           modified.tv_sec == other.modified.tv_sec && modified.tv_nsec == other.modified.tv_nsec &&
           changed.tv_sec == other.changed.tv_sec && changed.tv_nsec == other.changed.tv_nsec &&
           xattrs == other.xattrs && acl == other.acl;
  }
};

std::ostream& operator<<(std::ostream& out, const Looks& looks) {
  return out << "ino " << looks.ino << " mode " << std::oct << looks.mode << std::dec << " owner " << looks.uid << ":"
             << looks.gid << " size " << looks.size << " mtime " << looks.modified.tv_sec << "."
             << looks.modified.tv_nsec << " ctime " << looks.changed.tv_sec << "." << looks.changed.tv_nsec << "\n"
             << looks.xattrs << looks.acl;
}

Looks looksOf(const std::string& path) {
  struct stat info {};
  ::lstat(path.c_str(), &info);
  return {info.st_ino,
          info.st_mode,
          info.st_uid,
          info.st_gid,
          info.st_size,
          info.st_mtim,
          info.st_ctim,
          runProcess({"getfattr", "-d", "-m", "-", "--absolute-names", path}).out,
          runProcess({"getfacl", "-c", "--absolute-names", path}).out};
}

std::string bytesAt(const std::string& path, std::int64_t offset, std::size_t count) {
  std::string bytes(count, '\0');
  const UniqueFd fd{::open(path.c_str(), O_RDONLY | O_CLOEXEC)};
  const ssize_t got = fd ? ::pread(fd.get(), bytes.data(), count, offset) : -1;
  bytes.resize(got > 0 ? static_cast<std::size_t>(got) : 0);
  return bytes;
}

class CloneReplace : public ::testing::Test {
 protected:
  void SetUp() override {
    volume_ = LoopVolume::mount(LoopVolume::Kind::xfsReflink, 400 * MiB, whyNot_);
    if (!volume_) GTEST_SKIP() << whyNot_;
  }
  [[nodiscard]] std::string on(const std::string& relative) const { return volume_->path() + "/" + relative; }
  [[nodiscard]] std::int64_t freeBytes() const { return volume_->freeBytes(); }

  FakeHome home_;
  std::string whyNot_;
  std::unique_ptr<LoopVolume> volume_;
};

TEST_F(CloneReplace, SharedCopyGivesItsSpaceBackAndKeepsEverythingElse) {
  // Several sharing requests and a tail that ends inside a block.
  const std::string data = randomBytes(40 * MiB + 123, 21);
  const auto keep = put(on("a/keep.bin"), data);
  const auto copy = put(on("b/copy.bin"), data);
  ASSERT_EQ(runProcess({"setfattr", "-n", "user.origin", "-v", "downloaded", copy}).code, 0);
  ASSERT_EQ(runProcess({"setfacl", "-m", "u:nobody:r", copy}).code, 0);
  ASSERT_EQ(::chmod(copy.c_str(), 0640), 0);
  setModificationTime(copy, 86'400 * 40);
  const Looks before = looksOf(copy);
  const Looks keepBefore = looksOf(keep);
  ASSERT_FALSE(before.xattrs.empty());
  ASSERT_NE(before.acl.find("user:nobody:r--"), std::string::npos);
  const std::int64_t freeBefore = freeBytes();

  EXPECT_EQ(Dedupe::cloneReplace(keep, {copy}), std::nullopt);

  EXPECT_EQ(looksOf(copy), before);
  EXPECT_EQ(looksOf(keep), keepBefore);
  EXPECT_EQ(readFile(copy), data);
  EXPECT_EQ(readFile(keep), data);
  EXPECT_TRUE(sameBlocks(keep, copy));
  EXPECT_GE(sharedBytes(copy), 40 * MiB);
  EXPECT_GE(freeBytes() - freeBefore, 40 * MiB);
}

TEST_F(CloneReplace, CopyChangedAfterTheScanIsNoLongerIdenticalAndUntouched) {
  const std::string data = randomBytes(3 * MiB, 22);
  const auto keep = put(on("keep.bin"), data);
  std::string changed = data;
  changed[2 * MiB] ^= 0x55;
  const auto copy = put(on("copy.bin"), changed);
  const Looks before = looksOf(copy);

  EXPECT_EQ(Dedupe::cloneReplace(keep, {copy}), "copy.bin: no longer identical");

  EXPECT_EQ(readFile(copy), changed);
  EXPECT_EQ(looksOf(copy), before);
  EXPECT_EQ(sharedBytes(copy), 0);
}

TEST_F(CloneReplace, DifferenceFarIntoALargeFileLeavesItPartlySharedWithItsOwnBytes) {
  const std::string data = randomBytes(40 * MiB, 23);
  const auto keep = put(on("keep.bin"), data);
  std::string changed = data;
  changed[30 * MiB] ^= 0x01;
  const auto copy = put(on("copy.bin"), changed);

  EXPECT_EQ(Dedupe::cloneReplace(keep, {copy}), "copy.bin: no longer identical; partly shared");

  EXPECT_EQ(readFile(copy), changed);
  EXPECT_EQ(readFile(keep), data);
  EXPECT_GE(sharedBytes(copy), 16 * MiB);
}

TEST_F(CloneReplace, CopyOpenInAnotherProcessIsSkipped) {
  const std::string data = randomBytes(MiB, 24);
  const auto keep = put(on("keep.bin"), data);
  const auto copy = put(on("copy.bin"), data);
  const auto other = put(on("other.bin"), data);
  {
    HeldOpen held(copy);
    EXPECT_EQ(Dedupe::cloneReplace(keep, {copy, other}), "copy.bin: open in another app");
    EXPECT_EQ(sharedBytes(copy), 0);
    EXPECT_TRUE(sameBlocks(keep, other));
  }
}

TEST_F(CloneReplace, EachCheckRefusesWithItsOwnReason) {
  const std::string data = randomBytes(MiB, 25);
  const auto keep = put(on("keep.bin"), data);
  const auto linked = put(on("linked.bin"), data);
  ASSERT_EQ(::link(linked.c_str(), on("second-name.bin").c_str()), 0);
  ASSERT_EQ(::symlink(keep.c_str(), on("link.bin").c_str()), 0);
  const auto longer = put(on("longer.bin"), data + "!");
  const auto theirs = put(on("theirs.bin"), data);
  ASSERT_EQ(::chown(theirs.c_str(), 65534, 65534), 0);
  const auto locked = put(on("locked.bin"), data);
  ASSERT_EQ(runProcess({"chattr", "+i", locked}).code, 0);
  struct Unlock {
    std::string path;
    ~Unlock() { (void)clearProtectionFlags(path); }
  } unlock{locked};
  const auto elsewhere = put(home_ / "elsewhere.bin", data);
  const auto keepState = linkState(keep);
  ASSERT_TRUE(keepState);

  const auto reason = [&](const std::string& copy) { return Dedupe::replace(copy, keep, *keepState, {}); };
  EXPECT_EQ(reason(on("missing.bin")), "missing");
  EXPECT_EQ(reason(on("link.bin")), "not a regular file");
  EXPECT_EQ(reason(linked), "hard-linked");
  EXPECT_EQ(reason(locked), "locked or protected");
  EXPECT_EQ(reason(elsewhere), "on a different volume");
  EXPECT_EQ(reason(keep), "same file");
  EXPECT_EQ(reason(longer), "no longer identical");
  EXPECT_EQ(reason(theirs), "owned by another user");
  const auto copy = put(on("copy.bin"), data);
  EXPECT_EQ(Dedupe::replace(copy, keep, *keepState, {{static_cast<std::int32_t>(keepState->dev), inodeOf(copy)}}),
            "open in another app");
  for (const auto& untouched : {linked, longer, theirs, locked, copy})
    EXPECT_EQ(sharedBytes(untouched), 0) << untouched;
  EXPECT_EQ(readFile(linked), data);
}

TEST_F(CloneReplace, SummaryCountsFailuresAndQuotesTheFirstThree) {
  const std::string data = randomBytes(256 * 1024, 26);
  const auto keep = put(on("keep.bin"), data);
  const auto good = put(on("good.bin"), data);
  std::vector<std::string> copies{on("gone-1.bin"), good, on("gone-2.bin"), put(on("short.bin"), "x"),
                                  on("gone-3.bin")};

  EXPECT_EQ(Dedupe::cloneReplace(keep, copies),
            "4 of 5 copies skipped: gone-1.bin: missing; gone-2.bin: missing; short.bin: no longer identical");
  EXPECT_TRUE(sameBlocks(keep, good));
  EXPECT_EQ(Dedupe::cloneReplace(on("nowhere.bin"), {good}), "nowhere.bin is missing or changed; rescan");
}

TEST_F(CloneReplace, SeveralSetsAtOnceReportTheSetsNotFullyShared) {
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
TEST_F(CloneReplace, CopyRewrittenWhileSharingKeepsTheWritersBytes) {
  const std::string data = randomBytes(48 * MiB, 30);
  const std::int64_t where = 40 * MiB + 7;
  const std::string mark = "written by another process";
  std::string expected = data;
  expected.replace(static_cast<std::size_t>(where), mark.size(), mark);
  for (const int delayMs : {0, 2, 10, 40}) {
    const auto keep = put(on("keep.bin"), data);
    const auto copy = put(on("copy.bin"), data);
    const auto keepState = linkState(keep);
    const auto copyState = linkState(copy);
    ASSERT_TRUE(keepState && copyState);
    const std::string script = "sleep " + std::to_string(delayMs / 1000.0) + "; while :; do printf '" + mark +
                               "' | dd of='" + copy + "' bs=1 seek=" + std::to_string(where) +
                               " conv=notrunc status=none; done";
    pid_t writer = 0;
    {
      // The writer is started through a shell of its own so it can be stopped as a group.
      const std::string command = "setsid sh -c \"" + script + "\" >/dev/null 2>&1 & echo $!";
      const auto started = runProcess({"sh", "-c", command});
      writer = static_cast<pid_t>(std::stol(started.out));
    }
    const ShareOutcome outcome = shareWithKept(keep, *keepState, copy, *copyState);
    // Let the writer have its say at least once before it is stopped.
    for (int wait = 0; wait < 500 && bytesAt(copy, where, mark.size()) != mark; ++wait) {
      std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    ::kill(-writer, SIGKILL);
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
  volumes.emplace_back("temporary folder", nullptr);
  for (const auto kind : {LoopVolume::Kind::ext4, LoopVolume::Kind::tmpfs, LoopVolume::Kind::xfsPlain}) {
    if (auto volume = LoopVolume::mount(kind, 320 * MiB, whyNot))
      volumes.emplace_back(volume->path(), std::move(volume));
  }
  for (const auto& [name, volume] : volumes) {
    const std::string folder = volume ? volume->path() : home.path();
    const std::string data = randomBytes(2 * MiB, 31);
    const auto keep = put(folder + "/keep.bin", data);
    const auto copy = put(folder + "/copy.bin", data);
    const Looks before = looksOf(copy);

    EXPECT_FALSE(volumeCanShare(keep)) << name;
    EXPECT_EQ(Dedupe::cloneReplace(keep, {copy}), "copy.bin: volume doesn't support clones") << name;
    EXPECT_EQ(looksOf(copy), before) << name;
    EXPECT_EQ(readFile(copy), data) << name;
  }
  if (volumes.size() < 4)
    std::cout << "only checked the temporary folder and " << volumes.size() - 1 << " test volumes: " << whyNot << "\n";
}

TEST(CloneReplaceElsewhere, BtrfsSharesTheSameWay) {
  FakeHome home;
  std::string whyNot;
  const auto volume = LoopVolume::mount(LoopVolume::Kind::btrfs, 400 * MiB, whyNot);
  if (!volume) GTEST_SKIP() << whyNot;
  const std::string data = randomBytes(20 * MiB + 5, 32);
  const auto keep = put(volume->path() + "/keep.bin", data);
  const auto copy = put(volume->path() + "/copy.bin", data);
  const Looks before = looksOf(copy);
  const std::int64_t freeBefore = volume->freeBytes();

  EXPECT_TRUE(volumeCanShare(keep));
  EXPECT_EQ(Dedupe::cloneReplace(keep, {copy}), std::nullopt);

  EXPECT_EQ(looksOf(copy), before);
  EXPECT_EQ(readFile(copy), data);
  EXPECT_GE(sharedBytes(copy), 20 * MiB);
  EXPECT_GE(volume->freeBytes() - freeBefore, 16 * MiB);
}

}  // namespace
}  // namespace tw::test
