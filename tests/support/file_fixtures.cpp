#include "support/file_fixtures.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <ctime>
#include <stdexcept>

#include "fs/unique_fd.h"
#include "support/fake_home.h"

namespace tw::test {
namespace {

timespec daysAgo(double days) {
  const double seconds = static_cast<double>(std::time(nullptr)) - days * 86400;
  return {static_cast<time_t>(seconds), 0};
}

UniqueFd created(const std::string& path) {
  makeFolders(path.substr(0, path.rfind('/')));
  UniqueFd fd{::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644)};
  if (!fd) throw std::runtime_error("cannot create " + path);
  return fd;
}

}  // namespace

void setDaysAgo(const std::string& path, double accessedDaysAgo, double modifiedDaysAgo) {
  const timespec times[2] = {daysAgo(accessedDaysAgo), daysAgo(modifiedDaysAgo)};
  if (::utimensat(AT_FDCWD, path.c_str(), times, AT_SYMLINK_NOFOLLOW) != 0) {
    throw std::runtime_error("cannot set the times of " + path);
  }
}

std::string allocatedFile(const std::string& path, std::int64_t bytes) {
  const UniqueFd fd = created(path);
  if (::fallocate(fd.get(), 0, 0, bytes) != 0) throw std::runtime_error("cannot allocate " + path);
  return path;
}

std::string sparseFile(const std::string& path, std::int64_t bytes) {
  const UniqueFd fd = created(path);
  if (::ftruncate(fd.get(), bytes) != 0) throw std::runtime_error("cannot size " + path);
  return path;
}

}  // namespace tw::test
