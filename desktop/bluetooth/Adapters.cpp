#include "desktop/bluetooth/Adapters.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fmt/format.h>
#include <sys/socket.h>
#include <unistd.h>

#include "desktop/Failure.h"

namespace brelix::bluetooth {
namespace {

constexpr const char* kNoBluetooth =
    "this system's kernel offers no Bluetooth to programs; load its modules \"bluetooth\" and \"rfcomm\", and run "
    "brelix outside of containers that withhold it";
constexpr const char* kNoAdapter = "this computer has no Bluetooth adapter, or none that works; plug one in";
constexpr const char* kSwitchedOff =
    "Bluetooth is switched off; switch it on with: bluetoothctl power on (and before that, where it is blocked, "
    "rfkill unblock bluetooth)";
constexpr const char* kOutOfRange =
    "the device does not answer: it is out of range or switched off, or its Bluetooth is";
constexpr const char* kRefused =
    "the device refused the connection: nobody listens there, or another desktop is connected already, for a phone "
    "serves one at a time, or it has forgotten the pairing; make a new one with: bluetoothctl remove {0}, then "
    "bluetoothctl pair {0}";
constexpr const char* kNotPaired =
    "the device is not paired with this computer; pair them with: bluetoothctl pair {}, and accept on the phone";
constexpr const char* kPairingForgotten =
    "the device has forgotten the pairing; make a new one with: bluetoothctl remove {0}, then bluetoothctl pair {0}";
constexpr const char* kBusy =
    "this computer is connected to that channel of the device already; end the program that is, or wait for it";

struct Row {
  int error;
  const char* meaning;
};

// The kernel's words for what happened on the air and at the other end.
constexpr Row kMeanings[] = {
    {EAFNOSUPPORT, kNoBluetooth}, {EPROTONOSUPPORT, kNoBluetooth},
    {EHOSTDOWN, kOutOfRange},     {ETIMEDOUT, kOutOfRange},
    {EHOSTUNREACH, kOutOfRange},  {ECONNREFUSED, kRefused},
    {ECONNRESET, kRefused},       {EACCES, kNotPaired},
    {EBADE, kPairingForgotten},   {EBUSY, kBusy},
};

// An adapter that is off or gone shows as one of these.
bool MayBeTheAdapter(int error) {
  return error == EHOSTUNREACH || error == ENETDOWN || error == ENODEV || error == EADDRNOTAVAIL;
}

}  // namespace

std::vector<Adapter> Adapters() {
  std::vector<Adapter> adapters;
  const int hci = socket(kFamily, SOCK_RAW | SOCK_CLOEXEC, kHci);
  if (hci < 0) return adapters;
  AdapterList list;
  if (ioctl(hci, kGetAdapterList, &list) != 0) list.count = 0;
  for (unsigned i = 0; i < std::min<unsigned>(list.count, kMostAdapters); i++) {
    AdapterInfo info;
    info.number = list.adapters[i].number;
    if (ioctl(hci, kGetAdapterInfo, &info) != 0) continue;
    adapters.push_back({std::string(info.name, strnlen(info.name, sizeof info.name)), DeviceAddress(info.device),
                        (info.flags & kAdapterUp) != 0});
  }
  close(hci);
  std::ranges::sort(adapters, {}, &Adapter::name);
  return adapters;
}

DeviceAddress ChooseAdapter(const std::string& text) {
  if (text.empty()) return {};
  std::string known;
  for (const Adapter& adapter : Adapters()) {
    if (adapter.name == text || DeviceAddress::Parse(text) == adapter.address) return adapter.address;
    known += (known.empty() ? "there is " : ", ") + adapter.name;
  }
  throw Failure(Exit::kUsage, fmt::format("--adapter {}: this computer has no such Bluetooth adapter; {}", text,
                                          known.empty() ? "it has none at all" : known));
}

std::string Explain(const std::string& doing, int error, const Route& route, const std::vector<Adapter>& adapters) {
  if (MayBeTheAdapter(error)) {
    const auto takes_part = [&](const Adapter& each) {
      return route.from == DeviceAddress() || route.from == each.address;
    };
    if (std::ranges::none_of(adapters, takes_part)) return kNoAdapter;
    if (std::ranges::none_of(adapters, [&](const Adapter& each) { return each.up && takes_part(each); }))
      return kSwitchedOff;
  }
  const Row* row = std::ranges::find(kMeanings, error, &Row::error);
  if (row == std::end(kMeanings)) return fmt::format("{}: {}", doing, std::strerror(error));
  return fmt::format(fmt::runtime(row->meaning), route.to.Text());
}

}  // namespace brelix::bluetooth
