#include "desktop/bluetooth/ServiceQuery.h"

#include <array>
#include <cerrno>
#include <cstring>
#include <fmt/format.h>
#include <poll.h>
#include <unistd.h>

#include "desktop/Failure.h"
#include "desktop/bluetooth/Socket.h"

namespace brelix::bluetooth {
namespace {

constexpr uint8_t kDiscoveryPort[] = {0x01, 0x00};  // PSM 1, the low byte first
constexpr size_t kLargestPacket = 65535;

L2capSocketAddress DiscoveryAt(const DeviceAddress& device) {
  L2capSocketAddress address;
  std::memcpy(&address.psm, kDiscoveryPort, sizeof kDiscoveryPort);
  address.device = device.ForKernel();
  return address;
}

L2capSocketAddress AnyPortOf(const DeviceAddress& adapter) {
  L2capSocketAddress address;
  address.device = adapter.ForKernel();
  return address;
}

void Send(const Socket& socket, const Bytes& pdu, Deadline deadline, CancelFd cancel) {
  ssize_t count;
  while ((count = write(socket.Fd(), pdu.data(), pdu.size())) < 0 && (errno == EAGAIN || errno == EINTR))
    if (WaitFor(socket.Fd(), POLLOUT, deadline, cancel) == 0) socket.Fail("send", ETIMEDOUT);
  if (count < 0) socket.Fail("send", errno);
}

Bytes Receive(const Socket& socket, Deadline deadline, CancelFd cancel) {
  const short found = WaitFor(socket.Fd(), POLLIN, deadline, cancel);
  if (found == 0) socket.Fail("receive", ETIMEDOUT);
  Bytes packet(kLargestPacket);
  const ssize_t count = read(socket.Fd(), packet.data(), packet.size());
  if (count <= 0) socket.Fail("receive", count < 0 ? errno : ETIMEDOUT);
  packet.resize(count);
  return packet;
}

}  // namespace

Bytes AskForSerialPorts(const Route& route, Deadline deadline, CancelFd cancel) {
  Socket socket(SOCK_SEQPACKET, kL2cap, route);
  const int error = socket.Connect(AnyPortOf(route.from), DiscoveryAt(route.to), deadline, cancel);
  if (error != 0) socket.Fail("connect", error);
  ServiceSearch search;
  do Send(socket, search.Request(), deadline, cancel);
  while (!search.Take(Receive(socket, deadline, cancel)));
  return {search.Lists().begin(), search.Lists().end()};
}

}  // namespace brelix::bluetooth
