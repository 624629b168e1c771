#include "fs/file_io.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <cerrno>
#include <cstdlib>
#include <memory>

#include "fs/path.h"
#include "fs/unique_fd.h"

namespace tw {
namespace {

std::error_code lastError() { return {errno, std::generic_category()}; }

}  // namespace

std::error_code writeAll(int fd, std::string_view contents) {
  while (!contents.empty()) {
    const ssize_t written = ::write(fd, contents.data(), contents.size());
    if (written < 0) {
      if (errno == EINTR) continue;
      return lastError();
    }
    contents.remove_prefix(static_cast<std::size_t>(written));
  }
  return {};
}

std::error_code writeFileAtomically(const std::string& path, std::string_view contents) {
  const std::string folder = parentPath(path);
  std::string temporary = path + ".XXXXXX";
  UniqueFd fd{::mkostemp(temporary.data(), O_CLOEXEC)};
  if (!fd) return lastError();
  std::error_code error = writeAll(fd.get(), contents);
  if (!error && ::fchmod(fd.get(), 0644) != 0) error = lastError();
  if (!error && ::fsync(fd.get()) != 0) error = lastError();
  fd.reset();
  if (!error && ::rename(temporary.c_str(), path.c_str()) != 0) error = lastError();
  if (error) {
    ::unlink(temporary.c_str());
    return error;
  }
  // Make the rename itself durable.
  if (UniqueFd dir{::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)}) ::fsync(dir.get());
  return {};
}

bool pathExists(const std::string& path) {
  struct stat info {};
  return ::lstat(path.c_str(), &info) == 0;
}

bool isFolder(const std::string& path) {
  struct stat info {};
  return ::lstat(path.c_str(), &info) == 0 && S_ISDIR(info.st_mode);
}

std::optional<std::string> resolvedPath(const std::string& path) {
  std::unique_ptr<char, decltype(&std::free)> resolved{::realpath(path.c_str(), nullptr), &std::free};
  if (!resolved) return std::nullopt;
  return std::string(resolved.get());
}

std::error_code createDirectories(const std::string& path, unsigned mode) {
  if (path.empty()) return {};
  struct stat info {};
  if (::stat(path.c_str(), &info) == 0) {
    return S_ISDIR(info.st_mode) ? std::error_code{} : std::make_error_code(std::errc::not_a_directory);
  }
  const std::string parent = parentPath(path);
  if (parent != path) {
    if (auto error = createDirectories(parent, mode)) return error;
  }
  if (::mkdir(path.c_str(), mode) != 0 && errno != EEXIST) return lastError();
  return {};
}

}  // namespace tw
