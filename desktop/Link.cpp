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

}  // namespace

void Link::Fail(Exit code, const std::string& what) const {
  throw Failure(code, fmt::format("{}: {}", address_, what));
}

void Link::Lost(const std::string& how) { Fail(Exit::kLinkLost, fmt::format("the connection was lost: {}", how)); }

bool Link::Wait(int fd, short events, Deadline deadline) {
  const short found = WaitFor(fd, events, deadline, cancel_);
  hung_up_ = (found & POLLHUP) != 0;
  return found != 0;
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
    if (hung_up_) Lost("the phone closed it");
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
    if (count < 0 && hung_up_) Lost("the phone closed it");
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
