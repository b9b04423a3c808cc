#include "desktop/bluetooth/Socket.h"

#include <cerrno>
#include <poll.h>
#include <unistd.h>

#include "desktop/Failure.h"

namespace brelix::bluetooth {

Socket::Socket(int type, Protocol protocol, const Route& route)
    : route_(route), fd_(socket(kFamily, type | SOCK_NONBLOCK | SOCK_CLOEXEC, protocol)) {
  if (fd_ < 0) Fail("socket", errno);
}

Socket::~Socket() {
  if (fd_ >= 0) close(fd_);
}

void Socket::Fail(const char* doing, int error) const {
  throw Failure(Exit::kNoDevice, Explain(doing, error, route_, Adapters()));
}

void Socket::WantSecurity(SecurityLevel level) {
  const Security security{level, 0};
  if (setsockopt(fd_, kSocketLevel, kSecurityOption, &security, sizeof security) != 0) Fail("setsockopt", errno);
}

int Socket::Connect(const sockaddr* from, const sockaddr* to, socklen_t size, Deadline deadline, CancelFd cancel) {
  if (bind(fd_, from, size) != 0) Fail("bind", errno);
  if (connect(fd_, to, size) == 0) return 0;
  if (errno != EINPROGRESS) return errno;
  if (WaitFor(fd_, POLLOUT, deadline, cancel) == 0)
    throw Failure(Exit::kNoDevice,
                  "no answer in time; where the phone asks for a pairing, accept it there, and give it "
                  "more time with --timeout");
  int error = 0;
  socklen_t error_size = sizeof error;
  getsockopt(fd_, SOL_SOCKET, SO_ERROR, &error, &error_size);
  return error;
}

}  // namespace brelix::bluetooth
