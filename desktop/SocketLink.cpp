#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <fmt/format.h>
#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include "desktop/Link.h"

namespace brelix {
namespace {

class SocketLink : public Link {
 public:
  SocketLink(const std::string& address, CancelFd cancel) : Link(address, cancel) {}
  ~SocketLink() override { CloseSocket(); }

  // Empty when connected, else why not.
  std::string Open(const sockaddr* to, socklen_t size, Deadline deadline) {
    CloseSocket();
    read_fd_ = write_fd_ = socket(to->sa_family, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
    if (read_fd_ < 0) return std::strerror(errno);
    if (connect(read_fd_, to, size) == 0) return {};
    if (errno != EINPROGRESS) return std::strerror(errno);
    if (!Wait(write_fd_, POLLOUT, deadline)) return "no answer in time";
    int error = 0;
    socklen_t error_size = sizeof error;
    getsockopt(read_fd_, SOL_SOCKET, SO_ERROR, &error, &error_size);
    return error == 0 ? std::string() : std::strerror(error);
  }

  // A request is small and waits for its answer: it must not wait for company.
  void SendAtOnce() {
    const int on = 1;
    setsockopt(write_fd_, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
  }

  void Close() override { CloseSocket(); }

 private:
  void CloseSocket() {
    if (read_fd_ >= 0) close(read_fd_);
    read_fd_ = write_fd_ = -1;
  }
};

struct HostAndPort {
  std::string host, port;
};

HostAndPort SplitTcp(const std::string& address) {
  const std::string rest = address.substr(4);
  const size_t colon = rest.rfind(':');
  HostAndPort out;
  if (colon != rest.npos) out = {rest.substr(0, colon), rest.substr(colon + 1)};
  const bool bracketed = out.host.size() >= 2 && out.host.front() == '[' && out.host.back() == ']';
  if (bracketed) out.host = out.host.substr(1, out.host.size() - 2);
  if (out.host.empty() || out.port.empty() || (!bracketed && out.host.find(':') != out.host.npos))
    throw Failure(Exit::kUsage, fmt::format("device address \"{}\": expected tcp:HOST:PORT, an IPv6 address as "
                                            "tcp:[ADDRESS]:PORT",
                                            address));
  if (out.port.find_first_not_of("0123456789") != out.port.npos || out.port.size() > 5 || std::stoul(out.port) > 65535)
    throw Failure(Exit::kUsage, fmt::format("device address \"{}\": a port is a number up to 65535", address));
  return out;
}

[[noreturn]] void NoDevice(const std::string& address, const std::string& why) {
  throw Failure(Exit::kNoDevice, fmt::format("{}: no phone there: {}; check the address and that the phone's agent "
                                             "is running",
                                             address, why));
}

}  // namespace

std::unique_ptr<Link> ConnectTcp(const std::string& address, Deadline deadline, CancelFd cancel) {
  const HostAndPort where = SplitTcp(address);
  addrinfo hints{};
  hints.ai_socktype = SOCK_STREAM;
  hints.ai_flags = AI_ADDRCONFIG;
  addrinfo* found = nullptr;
  int error = getaddrinfo(where.host.c_str(), where.port.c_str(), &hints, &found);
  if (error != 0) {  // AI_ADDRCONFIG hides loopback addresses where nothing but loopback is configured
    hints.ai_flags = 0;
    error = getaddrinfo(where.host.c_str(), where.port.c_str(), &hints, &found);
  }
  if (error != 0) NoDevice(address, gai_strerror(error));
  const std::unique_ptr<addrinfo, decltype(&freeaddrinfo)> list(found, freeaddrinfo);

  auto link = std::make_unique<SocketLink>(address, cancel);
  std::string why;
  for (const addrinfo* each = list.get(); each != nullptr; each = each->ai_next) {
    why = link->Open(each->ai_addr, each->ai_addrlen, deadline);
    if (!why.empty()) continue;
    link->SendAtOnce();
    return link;
  }
  NoDevice(address, why);
}

std::unique_ptr<Link> ConnectUnix(const std::string& address, Deadline deadline, CancelFd cancel) {
  const std::string path = address.substr(5);
  sockaddr_un to{};
  to.sun_family = AF_UNIX;
  if (path.empty() || path.size() >= sizeof to.sun_path)
    throw Failure(Exit::kUsage, fmt::format("device address \"{}\": the path must have 1 to {} bytes", address,
                                            sizeof to.sun_path - 1));
  std::memcpy(to.sun_path, path.data(), path.size());
  auto link = std::make_unique<SocketLink>(address, cancel);
  const std::string why = link->Open(reinterpret_cast<const sockaddr*>(&to), sizeof to, deadline);
  if (!why.empty()) NoDevice(address, why);
  return link;
}

}  // namespace brelix
