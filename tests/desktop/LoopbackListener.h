// A listening socket for the other end of a desktop under test.
#pragma once

#include <netinet/in.h>
#include <stdexcept>
#include <sys/socket.h>
#include <utility>

namespace brelix::test {

// Its descriptor, and the port that the system picked.
inline std::pair<int, int> ListenOnLoopback() {
  const int listener = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_in at{};
  at.sin_family = AF_INET;
  at.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t size = sizeof at;
  if (bind(listener, reinterpret_cast<sockaddr*>(&at), size) != 0 || listen(listener, 1) != 0 ||
      getsockname(listener, reinterpret_cast<sockaddr*>(&at), &size) != 0)
    throw std::runtime_error("no listener");
  return {listener, ntohs(at.sin_port)};
}

}  // namespace brelix::test
