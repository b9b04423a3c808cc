// A connected Bluetooth socket, closed with the object.
#pragma once

#include <sys/socket.h>
#include <utility>

#include "desktop/Waiting.h"
#include "desktop/bluetooth/Adapters.h"

namespace brelix::bluetooth {

class Socket {
 public:
  // Throws a no-device failure that says why there is no socket. It does not block.
  Socket(int type, Protocol protocol, const Route& route);
  ~Socket();
  Socket(const Socket&) = delete;
  Socket& operator=(const Socket&) = delete;

  // Asks for a pairing, which the kernel does on the way where there is none yet.
  void WantSecurity(SecurityLevel level);
  // From the address of an adapter to that of a device; 0, or the error with which it could not be connected. Throws a
  // no-device failure when the deadline passed.
  template <typename Address>
  int Connect(const Address& from, const Address& to, Deadline deadline, CancelFd cancel) {
    return Connect(reinterpret_cast<const sockaddr*>(&from), reinterpret_cast<const sockaddr*>(&to), sizeof(Address),
                   deadline, cancel);
  }

  int Fd() const { return fd_; }
  int Release() { return std::exchange(fd_, -1); }
  [[noreturn]] void Fail(const char* doing, int error) const;

 private:
  int Connect(const sockaddr* from, const sockaddr* to, socklen_t size, Deadline deadline, CancelFd cancel);

  const Route route_;
  int fd_ = -1;
};

}  // namespace brelix::bluetooth
