#include "programs/phone/ListenAddress.h"

#include <arpa/inet.h>
#include <cerrno>
#include <cstring>
#include <fmt/format.h>
#include <memory>
#include <netdb.h>
#include <netinet/in.h>
#include <stdexcept>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>
#include <utility>

namespace brelix_phone {
namespace {

constexpr int kBacklog = 4;

[[noreturn]] void ThrowFailed(const std::string& address, const char* what) {
  throw std::runtime_error(fmt::format("cannot listen on {}: {}: {}", address, what, std::strerror(errno)));
}

bool IsLoopback(const sockaddr* address) {
  if (address->sa_family == AF_INET) {
    const auto* v4 = reinterpret_cast<const sockaddr_in*>(address);
    return ntohl(v4->sin_addr.s_addr) >> 24 == IN_LOOPBACKNET;
  }
  const auto* v6 = reinterpret_cast<const sockaddr_in6*>(address);
  return IN6_IS_ADDR_LOOPBACK(&v6->sin6_addr);
}

std::string ToText(const sockaddr_storage& address) {
  char host[NI_MAXHOST];
  char port[NI_MAXSERV];
  const auto* generic = reinterpret_cast<const sockaddr*>(&address);
  if (getnameinfo(generic, sizeof address, host, sizeof host, port, sizeof port, NI_NUMERICHOST | NI_NUMERICSERV) !=
      0) {
    return "tcp:?";
  }
  return address.ss_family == AF_INET6 ? fmt::format("tcp:[{}]:{}", host, port) : fmt::format("tcp:{}:{}", host, port);
}

}  // namespace

Listener::Listener(const std::string& address, bool allowRemote) {
  if (address.starts_with("tcp:")) {
    ListenTcp(address.substr(4), allowRemote);
  } else if (address.starts_with("unix:") && address.size() > 5) {
    ListenUnix(address.substr(5));
  } else {
    throw std::invalid_argument(fmt::format("{}: expected tcp:HOST:PORT, unix:PATH or bluetooth", address));
  }
}

Listener::~Listener() {
  if (m_descriptor >= 0) {
    close(m_descriptor);
  }
  if (!m_unixPath.empty()) {
    unlink(m_unixPath.c_str());
  }
}

int Listener::Release() { return std::exchange(m_descriptor, -1); }

void Listener::ListenTcp(const std::string& hostAndPort, bool allowRemote) {
  const std::string address = "tcp:" + hostAndPort;
  const std::size_t colon = hostAndPort.rfind(':');
  if (colon == std::string::npos || colon == 0 || colon + 1 == hostAndPort.size()) {
    throw std::invalid_argument(fmt::format("{}: expected tcp:HOST:PORT, for example tcp:127.0.0.1:0", address));
  }
  const std::string port = hostAndPort.substr(colon + 1);
  if (port.find_first_not_of("0123456789") != std::string::npos || port.size() > 5 || std::stoul(port) > 65535) {
    throw std::invalid_argument(fmt::format("{}: a port is a number from 0 to 65535", address));
  }
  std::string host = hostAndPort.substr(0, colon);
  if (host.front() == '[' && host.back() == ']') {
    host = host.substr(1, host.size() - 2);
  }
  addrinfo hints{};
  hints.ai_socktype = SOCK_STREAM;
  hints.ai_flags = AI_PASSIVE | AI_NUMERICSERV;
  addrinfo* found = nullptr;
  const int error = getaddrinfo(host.c_str(), port.c_str(), &hints, &found);
  if (error != 0) {
    throw std::invalid_argument(fmt::format("{}: {}", address, gai_strerror(error)));
  }
  const std::unique_ptr<addrinfo, decltype(&freeaddrinfo)> owner(found, &freeaddrinfo);
  if (!IsLoopback(found->ai_addr) && !allowRemote) {
    throw std::invalid_argument(
        fmt::format("{}: other machines could reach this address, and the protocol knows no password: whoever connects "
                    "reads and writes the phone. Use a loopback address such as tcp:127.0.0.1:0, or say --allow-remote",
                    address));
  }
  m_descriptor = socket(found->ai_family, SOCK_STREAM | SOCK_CLOEXEC, 0);
  const int on = 1;
  if (m_descriptor < 0 || setsockopt(m_descriptor, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on) != 0 ||
      bind(m_descriptor, found->ai_addr, found->ai_addrlen) != 0) {
    ThrowFailed(address, "bind");
  }
  if (listen(m_descriptor, kBacklog) != 0) {
    ThrowFailed(address, "listen");
  }
  sockaddr_storage bound{};
  socklen_t size = sizeof bound;
  if (getsockname(m_descriptor, reinterpret_cast<sockaddr*>(&bound), &size) != 0) {
    ThrowFailed(address, "getsockname");
  }
  m_address = ToText(bound);
}

void Listener::ListenUnix(const std::filesystem::path& path) {
  const std::string address = "unix:" + path.string();
  sockaddr_un name{};
  name.sun_family = AF_UNIX;
  if (path.native().size() >= sizeof name.sun_path) {
    throw std::invalid_argument(
        fmt::format("{}: a socket's path has at most {} bytes", address, sizeof name.sun_path - 1));
  }
  std::strcpy(name.sun_path, path.c_str());
  const auto* generic = reinterpret_cast<const sockaddr*>(&name);
  m_descriptor = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  if (m_descriptor < 0) {
    ThrowFailed(address, "socket");
  }
  if (bind(m_descriptor, generic, sizeof name) != 0) {
    // A socket that nobody listens on any more is left over from a process that was killed: take its place.
    const bool leftOver = errno == EADDRINUSE && std::filesystem::is_socket(path) &&
                          connect(m_descriptor, generic, sizeof name) != 0 && errno == ECONNREFUSED;
    if (!leftOver) {
      errno = std::filesystem::exists(path) ? EADDRINUSE : errno;
      ThrowFailed(address, "bind");
    }
    unlink(path.c_str());
    close(m_descriptor);
    m_descriptor = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (m_descriptor < 0 || bind(m_descriptor, generic, sizeof name) != 0) {
      ThrowFailed(address, "bind");
    }
  }
  m_unixPath = path;
  if (listen(m_descriptor, kBacklog) != 0) {
    ThrowFailed(address, "listen");
  }
  m_address = address;
}

}  // namespace brelix_phone
