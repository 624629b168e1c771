#include "screens/service_socket.h"

#include <sys/socket.h>
#include <sys/un.h>

#include <cerrno>
#include <cstring>

#include "fs/unique_fd.h"

namespace tw {

bool serviceListening(const std::string& socketPath) {
  sockaddr_un address{};
  if (socketPath.empty() || socketPath.size() >= sizeof(address.sun_path)) return false;
  address.sun_family = AF_UNIX;
  std::memcpy(address.sun_path, socketPath.c_str(), socketPath.size() + 1);
  const UniqueFd fd{::socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0)};
  if (!fd) return false;
  if (::connect(fd.get(), reinterpret_cast<const sockaddr*>(&address), sizeof(address)) == 0) return true;
  // A full backlog still means someone listens.
  return errno == EAGAIN || errno == EINPROGRESS;
}

}  // namespace tw
