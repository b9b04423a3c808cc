#include "desktop/cli/DevicesCommand.h"

#include <algorithm>
#include <fmt/format.h>
#include <memory>

#include "desktop/bluetooth/Directory.h"
#include "desktop/bluetooth/ServiceQuery.h"
#include "desktop/cli/Progress.h"

namespace brelix::cli {
namespace {

using namespace bluetooth;

struct Wish {
  bool all = false;
  double scan_seconds = 10;  // an inquiry of Bluetooth itself takes ten
};

// A device, and what it says of itself.
struct Found {
  KnownDevice device;
  std::optional<bool> offers;  // the agent's service; nothing when it could not be asked
  std::optional<uint8_t> channel;
  std::string why;  // it could not be asked
};

std::chrono::milliseconds Milliseconds(double seconds) {
  return std::chrono::milliseconds(static_cast<int64_t>(seconds * 1000));
}

// The adapters that are on, or the one that was chosen.
std::vector<KnownAdapter> UsableAdapters(Directory& directory, const std::string& choice) {
  std::vector<KnownAdapter> usable;
  std::string known;
  bool matched = false;
  for (const KnownAdapter& adapter : directory.Adapters()) {
    known += (known.empty() ? "there is " : ", ") + adapter.name;
    if (!choice.empty() && adapter.name != choice && DeviceAddress::Parse(choice) != adapter.address) continue;
    matched = true;
    if (adapter.powered) usable.push_back(adapter);
  }
  if (known.empty())
    throw Failure(Exit::kNoDevice, "this computer has no Bluetooth adapter, or none that works; plug one in");
  if (!matched)
    throw Failure(Exit::kUsage,
                  fmt::format("--adapter {}: this computer has no such Bluetooth adapter; {}", choice, known));
  if (usable.empty())
    throw Failure(Exit::kNoDevice,
                  "Bluetooth is switched off; switch it on with: bluetoothctl power on (and before that, where it is "
                  "blocked, rfkill unblock bluetooth)");
  return usable;
}

// One adapter that cannot look around does not keep the others from it.
void Discover(Directory& directory, const std::vector<KnownAdapter>& adapters, double seconds, CancelFd cancel) {
  if (seconds <= 0) return;
  std::vector<KnownAdapter> started;
  std::string trouble;
  for (const KnownAdapter& adapter : adapters) {
    try {
      directory.StartDiscovery(adapter);
      started.push_back(adapter);
    } catch (const Failure& failure) {
      trouble = fmt::format("{}: {}", adapter.name, failure.what());
      Complain(trouble);
    }
  }
  if (started.empty()) throw Failure(Exit::kNoDevice, "no adapter can look for devices; --scan 0 lists the known ones");
  Progress progress("looking for devices", std::nullopt);
  const Deadline until = Clock::now() + Milliseconds(seconds);
  constexpr std::chrono::milliseconds kStep{100};
  while (Clock::now() < until) {
    WaitFor(-1, 0, std::min(until, Clock::now() + kStep), cancel);
    progress.Advance();
  }
  for (const KnownAdapter& adapter : started) directory.StopDiscovery(adapter);
}

Found Ask(const KnownDevice& device, const DeviceAddress& adapter, const Options& options) {
  Found found{device, false, std::nullopt, ""};
  if (device.low_energy_only) return found;
  try {
    const Deadline deadline = Clock::now() + Milliseconds(options.timeout_seconds);
    found.channel =
        AgentChannel(ReadSerialPorts(AskForSerialPorts({adapter, device.address}, deadline, options.cancel)));
    found.offers = found.channel.has_value();
  } catch (const Failure& failure) {
    if (failure.code() == Exit::kInterrupted) throw;
    found.offers = std::nullopt;
    found.why = failure.what();
  }
  return found;
}

void AddTo(List& list, const Found& found) {
  const KnownDevice& device = found.device;
  const std::string address = "bluetooth:" + device.address.Text();
  const Json object = {{"device", address},
                       {"address", device.address.Text()},
                       {"name", device.name.empty() ? Json() : Json(device.name)},
                       {"adapter", device.adapter},
                       {"paired", device.paired},
                       {"connected", device.connected},
                       {"service", OrNull(found.offers)},
                       {"channel", OrNull(found.channel)},
                       {"why", found.why.empty() ? Json() : Json(found.why)}};
  const std::string service = found.channel  ? fmt::format("{}, channel {}", kServiceName, *found.channel)
                              : found.offers ? "no"
                                             : "unknown: " + found.why;
  list.Add(object, {address, device.name, device.adapter, device.paired ? "yes" : "no", service});
}

Exit ListDevices(const Options& options, const Wish& wish) {
  const auto directory = OpenDirectory();
  const auto adapters = UsableAdapters(*directory, options.bluetooth.adapter);
  Discover(*directory, adapters, wish.scan_seconds, options.cancel);

  List list(options.json, {{"Device"}, {"Name"}, {"Adapter"}, {"Paired"}, {"Service", false, true}});
  size_t offering = 0, without = 0, silent = 0;
  const std::vector<KnownDevice> devices = directory->Devices();
  Progress progress("asking devices", devices.size());
  for (const KnownDevice& device : devices) {
    progress.Advance();
    const auto adapter = std::ranges::find(adapters, device.adapter, &KnownAdapter::name);
    if (adapter == adapters.end()) continue;
    const Found found = Ask(device, adapter->address, options);
    if (wish.all || found.offers == true) AddTo(list, found);
    (found.offers == true ? offering : found.offers ? without : silent)++;
  }
  list.Finish();
  if (offering > 0 || wish.all) return Exit::kOk;
  throw Failure(Exit::kNoDevice,
                fmt::format("no device offers the service \"{}\": {} without it, {} that could not be asked (brelix "
                            "devices --all tells which); start the agent on the phone, and see that its Bluetooth is "
                            "on and visible",
                            kServiceName, without, silent));
}

}  // namespace

void DeclareDevices(CLI::App& app, Action& chosen) {
  auto wish = std::make_shared<Wish>();
  CLI::App* devices = app.add_subcommand("devices", "Which phones with the agent are in Bluetooth's reach");
  devices->add_flag("--all", wish->all, "Also the devices that do not offer the agent's service, or cannot be asked");
  devices->add_option("--scan", wish->scan_seconds, "Seconds to look for devices; 0 asks the known ones only")
      ->check(CLI::Range(0.0, 300.0))
      ->capture_default_str();
  devices->callback([wish, &chosen] {
    chosen = Action::WithoutPhone([wish = *wish](const Options& options) { return ListDevices(options, wish); });
  });
}

}  // namespace brelix::cli
