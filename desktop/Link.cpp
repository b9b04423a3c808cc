#include "desktop/Link.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <fmt/format.h>
#include <poll.h>
#include <unistd.h>

namespace brelix {
namespace {

constexpr size_t kReadSize = 65536;

}  // namespace

void Link::Fail(Exit code, const std::string& what) const {
  throw Failure(code, fmt::format("{}: {}", address_, what));
}

void Link::Lost(const std::string& how) { Fail(Exit::kLinkLost, fmt::format("the connection was lost: {}", how)); }

bool Link::Wait(int fd, short events, Deadline deadline) { return WaitFor(fd, events, deadline, cancel_) != 0; }

// Appends what is there; false when there was nothing after all.
bool Link::ReadSome(Bytes& in, bool hung_up) {
  const size_t before = in.size();
  in.resize(before + kReadSize);
  const ssize_t count = read(read_fd_, in.data() + before, kReadSize);
  const int error = errno;
  in.resize(before + std::max<ssize_t>(count, 0));
  if (count == 0) Lost("the phone closed it");
  if (count < 0 && error != EAGAIN && error != EINTR) Lost(std::strerror(error));
  if (count < 0 && hung_up) Lost("the phone closed it");
  heard_ = heard_ || count > 0;
  return count > 0;
}

bool Link::WriteSome(Bytes& out) {
  const ssize_t count = write(write_fd_, out.data(), out.size());
  if (count < 0 && errno != EAGAIN && errno != EINTR) Lost(std::strerror(errno));
  if (count > 0) out.erase(out.begin(), out.begin() + count);
  return count > 0;
}

bool Link::Transfer(Bytes& out, Bytes& in, Deadline deadline) {
  for (;;) {
    std::array<pollfd, 2> polled{{{read_fd_, POLLIN, 0}, {out.empty() ? -1 : write_fd_, POLLOUT, 0}}};
    if (!WaitForAny(polled, deadline, cancel_)) return false;
    // A socket of RFCOMM tells of its end once by an error and never again, but poll() goes on saying so.
    const bool hung_up = ((polled[0].revents | polled[1].revents) & POLLHUP) != 0;
    // What has come is taken in first: it may say why nothing can be written any more.
    bool moved = polled[0].revents != 0 && ReadSome(in, hung_up);
    moved = (polled[1].revents != 0 && WriteSome(out)) || moved;
    if (moved) return true;
  }
}

bool Link::Read(Bytes& into, Deadline deadline) {
  Bytes nothing;
  return Transfer(nothing, into, deadline);
}

void Link::Write(Bytes bytes, Deadline deadline) {
  while (!bytes.empty()) {
    if (!Wait(write_fd_, POLLOUT, deadline))
      Fail(Exit::kLinkLost, "the phone takes no bytes; it may be out of reach (--timeout waits longer)");
    WriteSome(bytes);
  }
}

std::unique_ptr<Link> Connect(const std::string& address, Deadline deadline, CancelFd cancel,
                              const BluetoothOptions& bluetooth) {
  if (address.starts_with("bluetooth:")) return ConnectBluetooth(address, deadline, cancel, bluetooth);
  if (address.starts_with("tcp:")) return ConnectTcp(address, deadline, cancel);
  if (address.starts_with("unix:")) return ConnectUnix(address, deadline, cancel);
  if (address.starts_with("exec:")) return ConnectExec(address, cancel);
  throw Failure(Exit::kUsage, fmt::format("device address \"{}\": expected bluetooth:ADDRESS, tcp:HOST:PORT, unix:PATH "
                                          "or exec:COMMAND",
                                          address));
}

}  // namespace brelix
