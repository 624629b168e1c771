#pragma once

// Helpers shared by the Trash tests of the model and of the command line (header-only, so
// both test programs can use it).

#include <ftw.h>
#include <grp.h>
#include <gtest/gtest.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <ctime>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "core/date.h"
#include "core/dispatcher.h"
#include "core/text.h"
#include "support/fake_home.h"
#include "support/programs.h"
#include "trash/trash_model.h"

namespace tw::test {

inline std::string homeTrashFiles(const FakeHome& home) { return home / ".local/share/Trash/files"; }
inline std::string homeTrashInfo(const FakeHome& home) { return home / ".local/share/Trash/info"; }

// "YYYY-MM-DDThh:mm:ss" in local time, as Trash implementations write DeletionDate.
inline std::string localTimestamp(Date date, char separator = 'T') {
  const std::time_t seconds = static_cast<std::time_t>(secondsSince1970(date));
  std::tm local{};
  ::localtime_r(&seconds, &local);
  char text[32];
  std::strftime(text, sizeof text, separator == 'T' ? "%Y-%m-%dT%H:%M:%S" : "%Y-%m-%d %H:%M:%S", &local);
  return text;
}

inline Date daysAgo(int days) {
  return std::chrono::floor<std::chrono::seconds>(std::chrono::system_clock::now()) - std::chrono::hours{24 * days};
}

// Puts a file straight into the home Trash with its info file, the way any freedesktop
// client does. `info` is the whole .trashinfo text, or nothing for an orphan.
inline std::string placeInHomeTrash(const FakeHome& home, const std::string& name,
                                    const std::optional<std::string>& info, std::int64_t size = 1000) {
  const std::string path = homeTrashFiles(home) + "/" + name;
  writeFilledFile(path, size);
  makeFolders(homeTrashInfo(home));
  if (info) writeFile(homeTrashInfo(home) + "/" + name + ".trashinfo", *info);
  return path;
}

inline std::string trashInfoText(const std::string& encodedPath, Date deleted) {
  return "[Trash Info]\nPath=" + encodedPath + "\nDeletionDate=" + localTimestamp(deleted) + "\n";
}

// trash-cli, the reference client, run against the fake home (HOME and XDG_DATA_HOME
// point into it while a FakeHome lives).
inline void trashPut(const std::vector<std::string>& paths) {
  std::vector<std::string> command{"trash-put"};
  command.insert(command.end(), paths.begin(), paths.end());
  const auto result = runProcess(command);
  ASSERT_EQ(result.code, 0) << result.err;
}

struct TrashListLine {
  std::string deleted;  // "YYYY-MM-DD hh:mm:ss"
  std::string origin;
};

// What trash-list prints, limited to origins below `under` (other tests' mounts may have
// Trashes of their own).
inline std::vector<TrashListLine> trashList(const std::string& under) {
  const auto result = runProcess({"trash-list"});
  std::vector<TrashListLine> lines;
  for (const auto& line : splitLines(result.out)) {
    if (line.size() < 21) continue;
    TrashListLine entry{line.substr(0, 19), line.substr(20)};
    if (entry.origin.starts_with(under + "/")) lines.push_back(entry);
  }
  return lines;
}

// The Trash folders the model would find, kept to those inside `folder`: a test never
// lists or deletes anything in a real Trash of this machine.
inline TrashModel::DirsSource trashesUnder(const FakeHome& home) {
  return [folder = home.path(), context = home.context()] {
    auto dirs = TrashModel::trashDirs(context);
    std::erase_if(dirs, [&](const TrashDir& dir) { return !dir.dir.starts_with(folder + "/"); });
    return dirs;
  };
}

// Loads a model and drives its owner queue until loading and measuring have finished.
inline void settle(TrashModel& model, QueueDispatcher& queue) {
  ASSERT_TRUE(queue.runUntil([&] { return model.loaded() && !model.loading() && !model.sizing() && !model.busy(); },
                             std::chrono::seconds{60}));
}

// A model of the Trash folders inside `home`, loaded and measured before the test looks.
struct LoadedTrash {
  explicit LoadedTrash(const FakeHome& home) : model(queue.dispatcher(), home.context(), trashesUnder(home)) {
    reload();
  }
  void reload() {
    model.load();
    settle(model, queue);
  }
  // Runs one of the model's actions (deleteItems, putBack...) to its end and reloads.
  void perform(const std::function<void(std::function<void()>)>& action) {
    bool done = false;
    action([&] { done = true; });
    ASSERT_TRUE(queue.runUntil([&] { return done; }, std::chrono::seconds{60}));
    settle(model, queue);
  }
  QueueDispatcher queue;
  TrashModel model;
};

inline const TrashItem* itemNamed(const std::vector<TrashItem>& items, const std::string& name) {
  for (const auto& item : items) {
    if (item.name == name) return &item;
  }
  return nullptr;
}

// Root may read anything, so tests about missing rights run their body in a child
// process as the user "nobody" (after `giveToNobody` on the files it needs). Returns the
// body's result, or 100 + the signal / a failed switch.
inline constexpr uid_t nobody = 65534;

inline int asNobody(const std::function<int()>& body) {
  const pid_t child = ::fork();
  if (child == 0) {
    if (::getuid() == 0 && (::setgroups(0, nullptr) != 0 || ::setgid(nobody) != 0 || ::setuid(nobody) != 0)) {
      ::_exit(99);
    }
    ::_exit(body());
  }
  int status = 0;
  while (::waitpid(child, &status, 0) < 0 && errno == EINTR) {
  }
  return WIFEXITED(status) ? WEXITSTATUS(status) : 100 + WTERMSIG(status);
}

inline void giveToNobody(const std::string& path) {
  if (::getuid() != 0) return;
  ::nftw(
      path.c_str(),
      [](const char* entry, const struct stat*, int, struct FTW*) { return ::lchown(entry, nobody, nobody); }, 16,
      FTW_PHYS);
}

// Runs the command as "nobody" when this test runs as root, otherwise as this user.
inline RunResult runTidewardenUnprivileged(const std::vector<std::string>& args) {
  if (::getuid() != 0) return runTidewarden(args);
  std::vector<std::string> command{"setpriv", "--reuid=65534", "--regid=65534", "--clear-groups",
                                   test::tidewardenBinary()};
  command.insert(command.end(), args.begin(), args.end());
  return runProcess(command);
}

// A tmpfs mounted in a private mount namespace of this test process (so nothing outside
// it sees the mount), for items on a second file system. Tests skip when the system
// does not allow mounting.
class PrivateTmpfs {
 public:
  explicit PrivateTmpfs(const std::string& path) : path_(path) {
    if (::unshare(CLONE_NEWNS) != 0) {
      reason_ = std::string("cannot make a private mount namespace: ") + std::strerror(errno);
      return;
    }
    if (::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 ||
        ::mount("tidewarden-test", path.c_str(), "tmpfs", 0, "size=16m") != 0) {
      reason_ = std::string("cannot mount a tmpfs: ") + std::strerror(errno);
      return;
    }
    mounted_ = true;
  }
  ~PrivateTmpfs() {
    if (mounted_) ::umount2(path_.c_str(), MNT_DETACH);
  }
  PrivateTmpfs(const PrivateTmpfs&) = delete;
  PrivateTmpfs& operator=(const PrivateTmpfs&) = delete;

  [[nodiscard]] bool mounted() const { return mounted_; }
  [[nodiscard]] const std::string& reason() const { return reason_; }

 private:
  std::string path_;
  bool mounted_ = false;
  std::string reason_;
};

}  // namespace tw::test
