#include <cerrno>
#include <fmt/format.h>
#include <unistd.h>

#include "desktop/Link.h"
#include "desktop/bluetooth/ServiceQuery.h"
#include "desktop/bluetooth/Socket.h"

namespace brelix {
namespace {

using namespace bluetooth;

// A stream over RFCOMM. Its socket never blocks: a large blocking send may wait for ever for memory that only its own
// bytes would free.
class RfcommLink : public Link {
 public:
  RfcommLink(const std::string& address, CancelFd cancel, int socket) : Link(address, cancel) {
    read_fd_ = write_fd_ = socket;
  }
  ~RfcommLink() override { Close(); }

  void Close() override {
    if (read_fd_ >= 0) close(read_fd_);
    read_fd_ = write_fd_ = -1;
  }

 private:
  // The kernel tells an orderly end, a reset and the loss of the radio link alike.
  [[noreturn]] void Lost(const std::string&) override {
    Fail(Exit::kLinkLost, "the connection was lost: the phone closed it or went out of reach");
  }
};

RfcommSocketAddress AddressOf(const DeviceAddress& device, uint8_t channel) {
  RfcommSocketAddress address;
  address.device = device.ForKernel();
  address.channel = channel;
  return address;
}

// Where the pairing is made on the way, the device may learn of it a moment later than we do and refuse us meanwhile.
constexpr std::chrono::milliseconds kPairingSettles{700};

// A connected socket.
int Dial(const Route& route, uint8_t channel, SecurityLevel security, Deadline deadline, CancelFd cancel) {
  for (bool again = false;; again = true) {
    Socket socket(SOCK_STREAM, kRfcomm, route);
    socket.WantSecurity(security);
    const int error = socket.Connect(AddressOf(route.from, 0), AddressOf(route.to, channel), deadline, cancel);
    if (error == 0) return socket.Release();
    if (error != ECONNREFUSED || again) socket.Fail("connect", error);
    WaitFor(-1, 0, Clock::now() + kPairingSettles, cancel);
  }
}

uint8_t LookUpChannel(const Route& route, Deadline deadline, CancelFd cancel) {
  const auto channel = AgentChannel(ReadSerialPorts(AskForSerialPorts(route, deadline, cancel)));
  if (!channel)
    throw Failure(Exit::kNoDevice,
                  fmt::format("the device answers, but offers no service \"{}\"; start the agent on it "
                              "(BrelixHost.exe on a phone, brelix-phone serve --listen bluetooth on "
                              "Linux)",
                              kServiceName));
  return *channel;
}

}  // namespace

std::unique_ptr<Link> ConnectBluetooth(const std::string& address, Deadline deadline, CancelFd cancel,
                                       const BluetoothOptions& options) {
  const PhoneAddress phone = ParsePhoneAddress(address);
  const Route route{ChooseAdapter(options.adapter), phone.device};
  try {
    const uint8_t channel = phone.channel ? *phone.channel : LookUpChannel(route, deadline, cancel);
    const SecurityLevel security = options.insecure ? kLowSecurity : kMediumSecurity;
    return std::make_unique<RfcommLink>(address, cancel, Dial(route, channel, security, deadline, cancel));
  } catch (const Failure& failure) {
    if (failure.code() == Exit::kInterrupted) throw;
    throw Failure(failure.code(), fmt::format("{}: {}", address, failure.what()));
  }
}

}  // namespace brelix
