#include "tests/support/SlowLink.h"

#include <algorithm>
#include <arpa/inet.h>
#include <cerrno>
#include <deque>
#include <fcntl.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <signal.h>
#include <stdexcept>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>
#include <utility>
#include <vector>

namespace test {
namespace {

using Clock = std::chrono::steady_clock;

constexpr std::size_t kPacket = 1000;         // about what a packet of a radio link carries
constexpr std::size_t kBehind = 8 * kPacket;  // that wait for their turn, at most
constexpr std::size_t kMostHeld = 1 << 20;    // on their way or not taken by the other end

class Direction {
 public:
  Direction(int from, int to, const LinkSettings& settings, std::uint64_t cut)
      : m_from(from), m_to(to), m_settings(settings), m_cut(cut) {
    for (const int fd : {from, to}) fcntl(fd, F_SETFL, fcntl(fd, F_GETFL) | O_NONBLOCK);
  }

  int from() const { return m_from; }
  int to() const { return m_to; }
  std::uint64_t arrived() const { return m_arrived; }
  bool IsCut() const { return m_arrived >= m_cut; }
  bool Ended() const { return m_ended; }

  bool WantsIn(Clock::time_point now) const { return !m_no_more && m_held < kMostHeld && Behind(now) < kBehind; }
  bool WantsOut(Clock::time_point now) const { return !m_packets.empty() && m_packets.front().arrives <= now; }

  void TakeIn(Clock::time_point now) {
    std::vector<char> bytes(m_settings.bytes_per_second == 0 ? 65536 : kPacket);
    const ssize_t count = read(m_from, bytes.data(), bytes.size());
    if (count < 0 && (errno == EAGAIN || errno == EINTR)) return;
    if (count <= 0) {
      m_no_more = true;
      return;
    }
    bytes.resize(static_cast<std::size_t>(count));
    m_left = std::max(now, m_left);
    if (m_settings.bytes_per_second != 0) {
      m_left += std::chrono::nanoseconds(bytes.size() * 1'000'000'000 / m_settings.bytes_per_second);
    }
    m_held += bytes.size();
    m_packets.push_back({m_left + m_settings.delay, std::move(bytes)});
  }

  void HandOut(Clock::time_point now) {
    while (WantsOut(now) && !IsCut()) {
      std::vector<char>& bytes = m_packets.front().bytes;
      const std::size_t most = std::min<std::uint64_t>(bytes.size(), m_cut - m_arrived);
      const ssize_t count = write(m_to, bytes.data(), most);
      if (count < 0 && (errno == EAGAIN || errno == EINTR)) return;
      if (count < 0) return Break();
      m_arrived += static_cast<std::uint64_t>(count);
      m_held -= static_cast<std::size_t>(count);
      bytes.erase(bytes.begin(), bytes.begin() + count);
      if (bytes.empty()) m_packets.pop_front();
    }
    if (m_no_more && m_packets.empty() && !m_ended) {
      m_ended = true;
      if (shutdown(m_to, SHUT_WR) != 0) close(std::exchange(m_to, -1));  // a pipe ends by being closed
    }
  }

  // The other end takes nothing any more: what it would have got is gone, and whoever writes is told so.
  void Break() {
    m_packets.clear();
    m_no_more = m_ended = true;
    m_broken = true;
  }
  bool Broken() const { return m_broken; }

  // When something will be due although no descriptor becomes ready.
  Clock::time_point Due(Clock::time_point now) const {
    auto due = Clock::time_point::max();
    if (!m_packets.empty() && m_packets.front().arrives > now) due = m_packets.front().arrives;
    if (!m_no_more && Behind(now) >= kBehind) due = std::min(due, now + std::chrono::milliseconds(1));
    return due;
  }
  int Forget() { return std::exchange(m_to, -1); }

 private:
  struct Packet {
    Clock::time_point arrives;
    std::vector<char> bytes;
  };
  // Bytes that have not left yet.
  std::size_t Behind(Clock::time_point now) const {
    if (m_left <= now || m_settings.bytes_per_second == 0) return 0;
    return static_cast<std::size_t>(std::chrono::duration<double>(m_left - now).count() *
                                    static_cast<double>(m_settings.bytes_per_second));
  }

  int m_from, m_to;
  const LinkSettings& m_settings;
  const std::uint64_t m_cut;
  std::deque<Packet> m_packets;
  std::size_t m_held = 0;
  std::uint64_t m_arrived = 0;
  Clock::time_point m_left;  // when the last packet leaves
  bool m_no_more = false, m_ended = false, m_broken = false;
};

int Milliseconds(Clock::time_point due, Clock::time_point now) {
  if (due == Clock::time_point::max()) return -1;
  const auto left = std::chrono::ceil<std::chrono::milliseconds>(due - now).count();
  return static_cast<int>(std::clamp<std::int64_t>(left, 0, 1000));
}

}  // namespace

LinkCounts Carry(LinkEnd desktop, LinkEnd phone, const LinkSettings& settings, int stop) {
  Direction up(desktop.in, phone.out, settings, settings.cut_up);
  Direction down(phone.in, desktop.out, settings, settings.cut_down);
  while (!(up.Ended() && down.Ended()) && !up.IsCut() && !down.IsCut() && !up.Broken() && !down.Broken()) {
    const auto now = Clock::now();
    std::vector<pollfd> polled{{stop, POLLIN, 0}};
    for (Direction* each : {&up, &down}) {
      polled.push_back({each->WantsIn(now) ? each->from() : -1, POLLIN, 0});
      polled.push_back({each->WantsOut(now) ? each->to() : -1, POLLOUT, 0});
    }
    poll(polled.data(), polled.size(), Milliseconds(std::min(up.Due(now), down.Due(now)), now));
    if (polled[0].revents != 0) break;
    if (polled[1].revents != 0) up.TakeIn(Clock::now());
    if (polled[3].revents != 0) down.TakeIn(Clock::now());
    for (Direction* each : {&up, &down}) each->HandOut(Clock::now());
  }
  const int ends[] = {desktop.in, desktop.out == desktop.in ? -1 : down.Forget(), phone.in,
                      phone.out == phone.in ? -1 : up.Forget()};
  for (const int fd : ends)
    if (fd >= 0) close(fd);
  return {up.arrived(), down.arrived()};
}

LinkEnd ConnectTo(const std::string& address) {
  int fd = -1;
  bool connected = false;
  if (address.starts_with("unix:")) {
    sockaddr_un to{};
    to.sun_family = AF_UNIX;
    address.substr(5).copy(to.sun_path, sizeof to.sun_path - 1);
    fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    connected = connect(fd, reinterpret_cast<sockaddr*>(&to), sizeof to) == 0;
  } else if (address.starts_with("tcp:127.0.0.1:")) {
    sockaddr_in to{};
    to.sin_family = AF_INET;
    to.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    to.sin_port = htons(static_cast<std::uint16_t>(std::stoi(address.substr(14))));
    fd = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    connected = connect(fd, reinterpret_cast<sockaddr*>(&to), sizeof to) == 0;
    const int on = 1;
    setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
  }
  if (connected) return {fd, fd};
  if (fd >= 0) close(fd);
  throw std::runtime_error("cannot connect to " + address);
}

int ListenOn(std::string& address) {
  if (!address.starts_with("tcp:127.0.0.1:")) throw std::runtime_error("listens on tcp:127.0.0.1:PORT only");
  sockaddr_in at{};
  at.sin_family = AF_INET;
  at.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  at.sin_port = htons(static_cast<std::uint16_t>(std::stoi(address.substr(14))));
  socklen_t size = sizeof at;
  const int fd = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  if (bind(fd, reinterpret_cast<sockaddr*>(&at), size) != 0 || listen(fd, 8) != 0 ||
      getsockname(fd, reinterpret_cast<sockaddr*>(&at), &size) != 0) {
    throw std::runtime_error("cannot listen on " + address);
  }
  address = "tcp:127.0.0.1:" + std::to_string(ntohs(at.sin_port));
  return fd;
}

SlowLink::SlowLink(std::string phone, LinkSettings settings)
    : m_phone(std::move(phone)), m_settings(settings), m_listener(ListenOn(m_address)) {
  if (pipe2(m_stop, O_CLOEXEC) != 0) throw std::runtime_error("pipe");
  signal(SIGPIPE, SIG_IGN);
  m_thread = std::thread([this] { Serve(); });
}

SlowLink::~SlowLink() {
  if (write(m_stop[1], "!", 1) == 1) Finish();
  for (const int fd : {m_listener, m_stop[0], m_stop[1]}) close(fd);
}

void SlowLink::Serve() {
  for (;;) {
    const int desktop = accept4(m_listener, nullptr, nullptr, SOCK_CLOEXEC);
    if (desktop < 0 || m_ending) break;
    const int on = 1;
    setsockopt(desktop, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    try {
      const LinkCounts counts = Carry({desktop, desktop}, ConnectTo(m_phone), m_settings, m_stop[0]);
      m_counts = {m_counts.up + counts.up, m_counts.down + counts.down};
    } catch (const std::runtime_error&) {
      close(desktop);  // no phone there, which is what the desktop sees
    }
  }
}

LinkCounts SlowLink::Finish() {
  if (m_thread.joinable()) {
    m_ending = true;
    shutdown(m_listener, SHUT_RDWR);
    m_thread.join();
  }
  return m_counts;
}

}  // namespace test
