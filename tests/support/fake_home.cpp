#include "support/fake_home.h"
#include "support/programs.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <thread>

namespace tw::test {
namespace fs = std::filesystem;

namespace {

void check(bool ok, const std::string& what) {
  if (!ok) throw std::runtime_error(what + ": " + std::strerror(errno));
}

std::string drain(int fd) {
  std::string data;
  char buffer[65536];
  for (;;) {
    const ssize_t count = ::read(fd, buffer, sizeof buffer);
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) break;
    data.append(buffer, static_cast<std::size_t>(count));
  }
  ::close(fd);
  return data;
}

}  // namespace

std::string makeTempFolder(const std::string& prefix) {
  const char* base = std::getenv("TMPDIR");
  std::string pattern = std::string(base != nullptr && base[0] == '/' ? base : "/tmp") + "/" + prefix + "-XXXXXX";
  check(::mkdtemp(pattern.data()) != nullptr, "mkdtemp");
  // Resolve links (such as /tmp -> /private/tmp) so that paths compare as the code sees them.
  return fs::canonical(pattern).string();
}

FakeHome::FakeHome()
    : path_(makeTempFolder("tw-home")),
      environment_({{"HOME", path_},
                    {"XDG_DATA_HOME", path_ + "/.local/share"},
                    {"XDG_CONFIG_HOME", path_ + "/.config"},
                    {"XDG_CACHE_HOME", path_ + "/.cache"}}) {
  const Context initial = Context::fromEnvironment(Context::processEnvironment());
  settings_ = initial.settings;
  history_ = initial.history;
}

FakeHome::~FakeHome() { removeTree(path_); }

Context FakeHome::context() const {
  Context context = Context::fromEnvironment(Context::processEnvironment());
  context.settings = settings_;
  context.history = history_;
  return context;
}

Context FakeHome::context(Environment env) const {
  Context context = this->context();
  context.env = std::move(env);
  return context;
}

std::string FakeHome::operator/(const std::string& relative) const { return path_ + "/" + relative; }

std::string FakeHome::file(const std::string& relative, std::int64_t size) {
  const std::string full = *this / relative;
  writeFilledFile(full, size);
  return full;
}

std::string FakeHome::fileWithContents(const std::string& relative, const std::string& contents) {
  const std::string full = *this / relative;
  writeFile(full, contents);
  return full;
}

std::string FakeHome::folder(const std::string& relative) {
  const std::string full = *this / relative;
  makeFolders(full);
  return full;
}

void writeFile(const std::string& path, const std::string& contents) {
  makeFolders(fs::path(path).parent_path().string());
  std::ofstream out(path, std::ios::binary | std::ios::trunc);
  check(static_cast<bool>(out), "open " + path);
  out << contents;
}

std::string writeExecutable(const std::string& path, const std::string& script) {
  writeFile(path, script);
  check(::chmod(path.c_str(), 0755) == 0, "chmod " + path);
  return path;
}

void writeFilledFile(const std::string& path, std::int64_t size, char fill) {
  writeFile(path, std::string(static_cast<std::size_t>(size), fill));
}

void makeFolders(const std::string& path) {
  std::error_code error;
  fs::create_directories(path, error);
  check(!error, "mkdir " + path);
}

void setModificationTime(const std::string& path, std::int64_t secondsAgo) {
  const std::int64_t when = static_cast<std::int64_t>(::time(nullptr)) - secondsAgo;
  timespec times[2] = {{static_cast<time_t>(when), 0}, {static_cast<time_t>(when), 0}};
  check(::utimensat(AT_FDCWD, path.c_str(), times, AT_SYMLINK_NOFOLLOW) == 0, "utimensat " + path);
}

bool exists(const std::string& path) {
  struct stat info {};
  return ::lstat(path.c_str(), &info) == 0;
}

std::string readFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

void removeTree(const std::string& path) {
  if (path.empty() || path == "/") return;
  std::error_code error;
  // Tests make folders unreadable on purpose; give them back before removing.
  for (auto it = fs::recursive_directory_iterator(path, fs::directory_options::skip_permission_denied, error);
       !error && it != fs::recursive_directory_iterator(); it.increment(error)) {
    if (it->is_directory(error) && !it->is_symlink(error)) ::chmod(it->path().c_str(), 0755);
  }
  ::chmod(path.c_str(), 0755);
  for (int attempt = 0; attempt < 3; ++attempt) {
    for (auto it = fs::recursive_directory_iterator(path, error); !error && it != fs::recursive_directory_iterator();
         it.increment(error)) {
      if (it->is_directory(error) && !it->is_symlink(error)) ::chmod(it->path().c_str(), 0755);
    }
    error.clear();
    fs::remove_all(path, error);
    if (!error) return;
  }
}

std::vector<std::string> environmentWith(const std::map<std::string, std::optional<std::string>>& changes) {
  Environment merged = Context::processEnvironment();
  for (const auto& [name, value] : changes) {
    if (value) {
      merged[name] = *value;
    } else {
      merged.erase(name);
    }
  }
  std::vector<std::string> entries;
  for (const auto& [name, value] : merged) entries.push_back(name + "=" + value);
  return entries;
}

RunResult runProcess(const std::vector<std::string>& command,
                     const std::map<std::string, std::optional<std::string>>& environment,
                     const std::string& workingDirectory) {
  std::vector<std::string> envText = environmentWith(environment);
  std::vector<char*> envp;
  for (auto& text : envText) envp.push_back(text.data());
  envp.push_back(nullptr);
  std::vector<std::string> args = command;
  std::vector<char*> argv;
  for (auto& arg : args) argv.push_back(arg.data());
  argv.push_back(nullptr);

  int out[2], err[2];
  check(::pipe2(out, O_CLOEXEC) == 0 && ::pipe2(err, O_CLOEXEC) == 0, "pipe");
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
  posix_spawn_file_actions_adddup2(&actions, out[1], 1);
  posix_spawn_file_actions_adddup2(&actions, err[1], 2);
  if (!workingDirectory.empty()) posix_spawn_file_actions_addchdir_np(&actions, workingDirectory.c_str());
  pid_t pid = 0;
  const int spawned = ::posix_spawnp(&pid, argv[0], &actions, nullptr, argv.data(), envp.data());
  posix_spawn_file_actions_destroy(&actions);
  ::close(out[1]);
  ::close(err[1]);
  RunResult result;
  if (spawned != 0) {
    ::close(out[0]);
    ::close(err[0]);
    result.err = std::strerror(spawned);
    return result;
  }
  std::thread errReader([&] { result.err = drain(err[0]); });
  result.out = drain(out[0]);
  errReader.join();
  int status = 0;
  while (::waitpid(pid, &status, 0) < 0 && errno == EINTR) {
  }
  result.code = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
  return result;
}

RunResult runTidewardenWithin(int seconds, const std::vector<std::string>& arguments) {
  std::vector<std::string> command{"timeout", std::to_string(seconds), tidewardenBinary()};
  command.insert(command.end(), arguments.begin(), arguments.end());
  return runProcess(command);
}

RunResult runTidewarden(const std::vector<std::string>& arguments,
                        const std::map<std::string, std::optional<std::string>>& environment,
                        const std::string& workingDirectory) {
  std::vector<std::string> command{tidewardenBinary()};
  command.insert(command.end(), arguments.begin(), arguments.end());
  auto env = environment;
  // Children see this process's (fake) home unless a test says otherwise.
  for (const char* name : {"HOME", "XDG_DATA_HOME", "XDG_CONFIG_HOME", "XDG_CACHE_HOME"}) {
    if (!env.contains(name)) {
      const char* value = std::getenv(name);
      env[name] = value != nullptr ? std::optional<std::string>(value) : std::nullopt;
    }
  }
  if (!env.contains("TIDEWARDEN_SNAPSHOT")) env["TIDEWARDEN_SNAPSHOT"] = std::nullopt;
  return runProcess(command, env, workingDirectory);
}

}  // namespace tw::test
