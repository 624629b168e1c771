#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <string>

#include "support/fake_home.h"
#include "support/programs.h"

// Mount points met by removal commands: a tmpfs or a bind mount standing where an item
// is, or somewhere inside one. Each test runs the command in a private mount namespace, so
// the mounts vanish with it and nobody else sees them.
namespace tw::test {
namespace {

constexpr std::int64_t day = 86400;

// Runs `script` with sh in a private mount namespace, with $H the fake home and $TW the
// program; nothing when namespaces are not permitted here (the reason is in `whyNot`).
std::optional<RunResult> inPrivateMounts(const FakeHome& home, const std::string& script, std::string& whyNot) {
  const auto probe = runProcess({"unshare", "--mount", "--propagation", "private", "true"});
  if (probe.code != 0) {
    whyNot = "private mount namespaces are not permitted here: " + probe.err;
    return std::nullopt;
  }
  return runProcess({"unshare", "--mount", "--propagation", "private", "sh", "-ec", script},
                    {{"H", home.path()}, {"TW", tidewardenBinary()}});
}

void idleProject(FakeHome& home, const std::string& project) {
  home.file(project + "/package.json", 20);
  writeFile(home / (project + "/.git/HEAD"), "ref: refs/heads/main\n");
  writeFile(home / (project + "/.git/index"), "DIRC");
  setModificationTime(home / (project + "/.git/index"), 40 * day);
}

TEST(MountPointRemoval, ProjectsCleanNeverEmptiesAMountedFileSystemAndSaysWhatItFreed) {
  FakeHome home;
  idleProject(home, "code/tmpfs");
  home.folder("code/tmpfs/node_modules");
  idleProject(home, "code/bound");
  home.folder("code/bound/node_modules");
  home.file("store/keep", 100);
  idleProject(home, "code/deep");
  home.file("code/deep/node_modules/own/a.js", 400'000);
  home.folder("code/deep/node_modules/mounted");
  std::string whyNot;
  const auto run = inPrivateMounts(home, R"(
    mount -t tmpfs -o size=8m tmpfs "$H/code/tmpfs/node_modules"
    echo keep > "$H/code/tmpfs/node_modules/on-tmpfs"
    mount --bind "$H/store" "$H/code/bound/node_modules"
    mount -t tmpfs -o size=8m tmpfs "$H/code/deep/node_modules/mounted"
    echo keep > "$H/code/deep/node_modules/mounted/on-tmpfs"
    "$TW" projects clean --selected --yes --json || true
    test -e "$H/code/tmpfs/node_modules/on-tmpfs" && echo "tmpfs kept" >&2
    test -e "$H/code/deep/node_modules/mounted/on-tmpfs" && echo "inner tmpfs kept" >&2
    true)",
                                   whyNot);
  if (!run) GTEST_SKIP() << whyNot;
  EXPECT_NE(run->err.find("tmpfs kept"), std::string::npos) << run->err;
  EXPECT_NE(run->err.find("inner tmpfs kept"), std::string::npos) << run->err;
  EXPECT_TRUE(exists(home / "store/keep")) << "the bind mount's source is untouched";
  EXPECT_FALSE(exists(home / "code/deep/node_modules/own")) << "what is not on the mount still goes";

  const auto output = nlohmann::json::parse(run->out);
  EXPECT_GE(output["freed"].get<std::int64_t>(), 400'000) << "what went before the removal stopped counts";
  ASSERT_EQ(output["failed"].size(), 3u) << output.dump();
  int mountPoints = 0, mountsInside = 0;
  for (const auto& failure : output["failed"]) {
    const std::string error = failure["error"];
    mountPoints += error.find("it is a mount point") != std::string::npos ? 1 : 0;
    mountsInside += error.find("a mount point inside it was left alone") != std::string::npos ? 1 : 0;
  }
  EXPECT_EQ(mountPoints, 2) << output.dump();
  EXPECT_EQ(mountsInside, 1) << output.dump();
  EXPECT_NE(output.dump().find("freed before it stopped"), std::string::npos) << output.dump();
}

TEST(MountPointRemoval, EmptyingTheTrashAndCleaningCachesLeaveMountedEntriesAlone) {
  FakeHome home;
  home.file(".local/share/Trash/files/plain/data", 100);
  home.fileWithContents(".local/share/Trash/info/plain.trashinfo",
                        "[Trash Info]\nPath=/tmp/plain\nDeletionDate=2024-01-01T00:00:00\n");
  home.folder(".local/share/Trash/files/mounted");
  home.fileWithContents(".local/share/Trash/info/mounted.trashinfo",
                        "[Trash Info]\nPath=/tmp/mounted\nDeletionDate=2024-01-01T00:00:00\n");
  home.file(".cache/plain/data", 100);
  home.folder(".cache/mounted");
  std::string whyNot;
  const auto run = inPrivateMounts(home, R"(
    mount -t tmpfs -o size=8m tmpfs "$H/.local/share/Trash/files/mounted"
    echo keep > "$H/.local/share/Trash/files/mounted/on-tmpfs"
    mount -t tmpfs -o size=8m tmpfs "$H/.cache/mounted"
    echo keep > "$H/.cache/mounted/on-tmpfs"
    "$TW" trash empty --yes --json || true
    "$TW" clean --safe --yes --json || true
    test -e "$H/.local/share/Trash/files/mounted/on-tmpfs" && echo "trash entry kept" >&2
    test -e "$H/.local/share/Trash/info/mounted.trashinfo" && echo "its record kept" >&2
    test -e "$H/.cache/mounted/on-tmpfs" && echo "cache kept" >&2
    true)",
                                   whyNot);
  if (!run) GTEST_SKIP() << whyNot;
  for (const char* kept : {"trash entry kept", "its record kept", "cache kept"}) {
    EXPECT_NE(run->err.find(kept), std::string::npos) << kept << "\n" << run->err;
  }
  EXPECT_FALSE(exists(home / ".local/share/Trash/files/plain"));
  EXPECT_FALSE(exists(home / ".local/share/Trash/info/plain.trashinfo"));
  EXPECT_FALSE(exists(home / ".cache/plain"));
  EXPECT_NE(run->out.find("/.local/share/Trash/files/mounted\""), std::string::npos) << run->out;
}

}  // namespace
}  // namespace tw::test
