#include "desktop/Link.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fmt/format.h>
#include <poll.h>
#include <unistd.h>

namespace brelix {
namespace {

constexpr size_t kReadSize = 65536;

int MillisecondsUntil(Deadline deadline) {
  const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now()).count();
  return static_cast<int>(std::clamp<int64_t>(left, 0, 1 << 30));
}

}  // namespace

void Link::Fail(Exit code, const std::string& what) const {
  throw Failure(code, fmt::format("{}: {}", address_, what));
}

void Link::Lost(const std::string& how) { Fail(Exit::kLinkLost, fmt::format("the connection was lost: {}", how)); }

bool Link::Wait(int fd, short events, Deadline deadline) {
  for (;;) {
    pollfd polled[] = {{fd, events, 0}, {cancel_, POLLIN, 0}};
    const int ready = poll(polled, 2, MillisecondsUntil(deadline));
    if (ready < 0 && errno != EINTR) Fail(Exit::kUnexpected, fmt::format("poll: {}", std::strerror(errno)));
    if (ready > 0 && polled[1].revents != 0) {
      char taken;
      if (read(cancel_, &taken, 1) == 1) throw Failure(Exit::kInterrupted, "interrupted");
    }
    if (ready > 0 && polled[0].revents != 0) return true;
    if (Clock::now() >= deadline) return false;
  }
}

bool Link::Read(Bytes& into, Deadline deadline) {
  while (Wait(read_fd_, POLLIN, deadline)) {
    const size_t before = into.size();
    into.resize(before + kReadSize);
    const ssize_t count = read(read_fd_, into.data() + before, kReadSize);
    const int error = errno;
    into.resize(before + std::max<ssize_t>(count, 0));
    if (count > 0) {
      heard_ = true;
      return true;
    }
    if (count == 0) Lost("the phone closed it");
    if (error != EAGAIN && error != EINTR) Lost(std::strerror(error));
  }
  return false;
}

void Link::Write(ByteView bytes, Deadline deadline) {
  while (!bytes.empty()) {
    if (!Wait(write_fd_, POLLOUT, deadline))
      Fail(Exit::kLinkLost, "the phone takes no bytes; it may be out of reach (--timeout waits longer)");
    const ssize_t count = write(write_fd_, bytes.data(), bytes.size());
    if (count > 0) bytes = bytes.subspan(count);
    if (count < 0 && errno != EAGAIN && errno != EINTR) Lost(std::strerror(errno));
  }
}

std::unique_ptr<Link> Connect(const std::string& address, Deadline deadline, CancelFd cancel) {
  if (address.starts_with("tcp:")) return ConnectTcp(address, deadline, cancel);
  if (address.starts_with("unix:")) return ConnectUnix(address, deadline, cancel);
  if (address.starts_with("exec:")) return ConnectExec(address, cancel);
  throw Failure(Exit::kUsage,
                fmt::format("device address \"{}\": expected tcp:HOST:PORT, unix:PATH or exec:COMMAND", address));
}

}  // namespace brelix
