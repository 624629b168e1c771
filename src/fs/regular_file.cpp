#include "fs/regular_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "fs/unique_fd.h"

namespace tw {

std::optional<std::string> readRegularFile(const std::string& path, std::size_t maxBytes, LastLink lastLink) {
  const int noFollow = lastLink == LastLink::refuse ? O_NOFOLLOW : 0;
  UniqueFd fd{::open(path.c_str(), O_RDONLY | noFollow | O_NONBLOCK | O_NOCTTY | O_CLOEXEC)};
  if (!fd) return std::nullopt;
  struct stat info {};
  if (::fstat(fd.get(), &info) != 0 || !S_ISREG(info.st_mode)) return std::nullopt;
  if (info.st_size < 0 || static_cast<std::size_t>(info.st_size) > maxBytes) return std::nullopt;
  std::string contents;
  char buffer[16384];
  for (;;) {
    const ssize_t count = ::read(fd.get(), buffer, sizeof buffer);
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) return std::nullopt;
    if (count == 0) break;
    contents.append(buffer, static_cast<std::size_t>(count));
    // The file may have grown since fstat.
    if (contents.size() > maxBytes) return std::nullopt;
  }
  return contents;
}

}  // namespace tw
