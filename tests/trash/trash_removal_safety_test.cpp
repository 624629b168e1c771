#include <gtest/gtest.h>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include "fs/unique_fd.h"
#include "support/permissions.h"
#include "trash/trash_fixture.h"
#include "trash/trash_layout.h"
#include "trash/trash_reader.h"
#include "trash/trash_removal.h"

namespace tw::test {
namespace {

TrashRemoval emptyHomeTrash(const FakeHome& home) {
  const Context context = home.context();
  const TrashDir dir = TrashLayout::homeDir(context);
  return removeFromTrash(readTrashFolder(dir, context).items, {dir}, context);
}

TEST(TrashRemovalSafety, AnInfoFolderThatIsALinkIsNeverWrittenThrough) {
  FakeHome home;
  TempFolder outside;
  writeFilledFile(homeTrashFiles(home) + "/report.pdf", 1000);
  writeFile(outside / "info/report.pdf.trashinfo", "[Trash Info]\nPath=/elsewhere/report.pdf\n");
  ASSERT_EQ(::symlink((outside / "info").c_str(), homeTrashInfo(home).c_str()), 0);

  const TrashRemoval removal = emptyHomeTrash(home);

  EXPECT_EQ(removal.removed.size(), 1u);
  EXPECT_FALSE(exists(homeTrashFiles(home) + "/report.pdf"));
  EXPECT_TRUE(exists(outside / "info/report.pdf.trashinfo"));
}

TEST(TrashRemovalSafety, UnlockingALockedItemOpensNoDeviceNodeOrPipeInIt) {
  FakeHome home;
  const std::string item = homeTrashFiles(home) + "/old-chroot";
  writeFilledFile(item + "/locked/file", 100);
  // Inside the locked folder, so that they are still there when the flags are cleared.
  const std::string device = item + "/locked/dev-null", pipe = item + "/locked/pipe";
  ASSERT_EQ(::mknod(device.c_str(), S_IFCHR | 0666, makedev(1, 3)), 0);
  ASSERT_EQ(::mkfifo(pipe.c_str(), 0666), 0);
  ImmutableFolder locked(item + "/locked");
  if (!locked.ok()) GTEST_SKIP() << "no immutable flag here: " << locked.reason();
  const UniqueFd watch{::inotify_init1(IN_NONBLOCK | IN_CLOEXEC)};
  ASSERT_TRUE(watch);
  ASSERT_GE(::inotify_add_watch(watch.get(), device.c_str(), IN_OPEN), 0);
  ASSERT_GE(::inotify_add_watch(watch.get(), pipe.c_str(), IN_OPEN), 0);

  const TrashRemoval removal = emptyHomeTrash(home);

  alignas(inotify_event) char events[4096];
  const ssize_t read = ::read(watch.get(), events, sizeof events);
  bool opened = false;
  for (ssize_t at = 0; at < read;) {
    const auto* event = reinterpret_cast<const inotify_event*>(events + at);
    opened = opened || (event->mask & IN_OPEN) != 0;
    at += static_cast<ssize_t>(sizeof(inotify_event) + event->len);
  }
  EXPECT_FALSE(opened) << "a device node or a pipe was opened";
  EXPECT_EQ(removal.removed.size(), 1u) << "root may clear the flag and remove it";
  EXPECT_FALSE(exists(item));
}

}  // namespace
}  // namespace tw::test
