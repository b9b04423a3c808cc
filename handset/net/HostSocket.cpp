#include "handset/net/HostSocket.h"

#include <array>
#include <cerrno>
#include <fcntl.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/ioctl.h>
#include <sys/socket.h>

#include "handset/Enter.h"

namespace handset {

namespace {

struct Mapping {
  int host;
  ce::INT winsock;
};
// Mapped: the host's errors and what the phone calls them. A peer that is gone is EPIPE to the host's sender and a
// reset connection to the phone's. What stands in no row is a network that does not work.
constexpr std::array kMappings = std::to_array<Mapping>({
    {EAGAIN, ce::WSAEWOULDBLOCK},
    {EBADF, ce::WSAENOTSOCK},
    {ENOTSOCK, ce::WSAENOTSOCK},
    {ECONNRESET, ce::WSAECONNRESET},
    {EPIPE, ce::WSAECONNRESET},
    {ECONNABORTED, ce::WSAECONNABORTED},
    {ENOTCONN, ce::WSAENOTCONN},
    {EINVAL, ce::WSAEINVAL},
    {EOPNOTSUPP, ce::WSAEOPNOTSUPP},
    {ENOBUFS, ce::WSAENOBUFS},
    {ENOMEM, ce::WSAENOBUFS},
    {EMFILE, 10024},
    {ENFILE, 10024},
    {EFAULT, ce::WSAEFAULT},
    {EADDRINUSE, ce::WSAEADDRINUSE},
    {EADDRNOTAVAIL, ce::WSAEADDRNOTAVAIL},
    {EAFNOSUPPORT, ce::WSAEAFNOSUPPORT},
    {EPROTONOSUPPORT, ce::WSAEPROTONOSUPPORT},
    {EACCES, 10013},
    {EPERM, 10013},
    {ENETUNREACH, 10051},
    {ENETRESET, 10052},
    {ETIMEDOUT, 10060},
    {ECONNREFUSED, 10061},
    {EHOSTUNREACH, 10065},
});

[[noreturn]] void ThrowHostError() { throw Failure{WinsockCode(errno)}; }

[[noreturn]] void Throw(ce::INT code) { throw Failure{static_cast<ce::DWORD>(code)}; }

}  // namespace

ce::DWORD WinsockCode(int hostError) {
  for (const Mapping& mapping : kMappings) {
    if (mapping.host == hostError) return static_cast<ce::DWORD>(mapping.winsock);
  }
  return ce::WSAENETDOWN;
}

HostSocket::HostSocket(UniqueFd socket)
    : HandleObject(Held::kSocket), m_socket(std::move(socket)), m_wake(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
  const int flags = fcntl(m_socket.Get(), F_GETFL);
  if (!m_wake || flags < 0 || fcntl(m_socket.Get(), F_SETFL, flags | O_NONBLOCK) != 0) ThrowHostError();
}

void HostSocket::WaitFor(short event) {
  std::array<pollfd, 2> waited = {{{m_socket.Get(), event, 0}, {m_wake.Get(), POLLIN, 0}}};
  if (poll(waited.data(), waited.size(), -1) < 0 && errno != EINTR) ThrowHostError();
  if (m_closed) Throw(ce::WSAEINTR);
}

template <typename Operation>
ssize_t HostSocket::Attempt(short event, Operation operation) {
  while (true) {
    if (m_closed) Throw(ce::WSAEINTR);
    const ssize_t result = operation();
    if (result >= 0) return result;
    if (errno == EAGAIN && m_blocking) {
      WaitFor(event);
    } else if (errno != EINTR) {
      ThrowHostError();
    }
  }
}

void HostSocket::Listen(ce::INT backlog) {
  if (listen(m_socket.Get(), backlog) != 0) ThrowHostError();
}

std::shared_ptr<HostSocket> HostSocket::Accept() {
  const ssize_t accepted =
      Attempt(POLLIN, [&] { return accept4(m_socket.Get(), nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK); });
  return std::make_shared<HostSocket>(UniqueFd(static_cast<int>(accepted)));
}

ce::ULONG HostSocket::GetPending() const {
  int pending = 0;
  if (ioctl(m_socket.Get(), FIONREAD, &pending) != 0) ThrowHostError();
  return static_cast<ce::ULONG>(pending);
}

bool HostSocket::HasHungUp() const {
  pollfd asked{m_socket.Get(), POLLIN, 0};
  return poll(&asked, 1, 0) > 0 && (asked.revents & POLLHUP) != 0;
}

// Mapped: a host's RFCOMM socket whose peer is gone tells a reader so once, as a reset, and then again and again that
// there is nothing now. Here it is the end of the stream every time after the first.
ce::INT HostSocket::Receive(char* buffer, ce::INT size, bool peek) {
  if (m_receivesNoMore) Throw(ce::WSAESHUTDOWN);
  const int flags = peek ? MSG_PEEK : 0;
  return static_cast<ce::INT>(Attempt(POLLIN, [&]() -> ssize_t {
    const ssize_t received = recv(m_socket.Get(), buffer, static_cast<std::size_t>(size), flags);
    return received < 0 && errno == EAGAIN && HasHungUp() ? 0 : received;
  }));
}

ce::INT HostSocket::Send(const char* buffer, ce::INT size) {
  if (m_sendsNoMore) Throw(ce::WSAESHUTDOWN);
  ce::INT sent = 0;
  do {
    sent += static_cast<ce::INT>(Attempt(POLLOUT, [&] {
      const ssize_t part = send(m_socket.Get(), buffer + sent, static_cast<std::size_t>(size - sent), MSG_NOSIGNAL);
      // Mapped: a host's RFCOMM socket is not connected any more once its peer is gone; the phone's was reset.
      if (part < 0 && errno == ENOTCONN && HasHungUp()) errno = ECONNRESET;
      return part;
    }));
  } while (sent < size && m_blocking);
  return sent;
}

void HostSocket::Shutdown(ce::INT how) {
  static_assert(SHUT_RD == ce::SD_RECEIVE && SHUT_WR == ce::SD_SEND && SHUT_RDWR == ce::SD_BOTH);
  if (shutdown(m_socket.Get(), how) != 0) ThrowHostError();
  if (how != ce::SD_SEND) m_receivesNoMore = true;
  if (how != ce::SD_RECEIVE) m_sendsNoMore = true;
}

void HostSocket::Close() {
  m_closed = true;
  eventfd_write(m_wake.Get(), 1);
}

}  // namespace handset
