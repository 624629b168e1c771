#pragma once

#include <string>

namespace tw::test {

// A local stream socket that accepts connections while the object lives (standing in for
// a running service such as snapd), and is removed when it goes.
class ListeningSocket {
 public:
  explicit ListeningSocket(std::string path);
  ~ListeningSocket();
  ListeningSocket(const ListeningSocket&) = delete;
  ListeningSocket& operator=(const ListeningSocket&) = delete;

  // Stops listening and removes the socket, as a service that stopped would.
  void close();

 private:
  std::string path_;
  int fd_ = -1;
};

}  // namespace tw::test
