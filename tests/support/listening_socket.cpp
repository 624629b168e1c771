#include "support/listening_socket.h"

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstring>
#include <stdexcept>

#include "support/fake_home.h"

namespace tw::test {

ListeningSocket::ListeningSocket(std::string path) : path_(std::move(path)) {
  makeFolders(path_.substr(0, path_.rfind('/')));
  sockaddr_un address{};
  if (path_.size() >= sizeof(address.sun_path)) throw std::runtime_error("socket path too long: " + path_);
  address.sun_family = AF_UNIX;
  std::memcpy(address.sun_path, path_.c_str(), path_.size() + 1);
  fd_ = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  if (fd_ < 0 || ::bind(fd_, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) != 0 ||
      ::listen(fd_, 64) != 0) {
    throw std::runtime_error("cannot listen on " + path_ + ": " + std::strerror(errno));
  }
}

ListeningSocket::~ListeningSocket() { close(); }

void ListeningSocket::close() {
  if (fd_ < 0) return;
  ::close(fd_);
  fd_ = -1;
  ::unlink(path_.c_str());
}

}  // namespace tw::test
