#include <algorithm>
#include <fmt/format.h>
#include <map>
#include <sdbus-c++/sdbus-c++.h>

#include "desktop/Failure.h"
#include "desktop/bluetooth/Directory.h"

namespace brelix::bluetooth {
namespace {

constexpr const char* kService = "org.bluez";
constexpr const char* kAdapterInterface = "org.bluez.Adapter1";
constexpr const char* kDeviceInterface = "org.bluez.Device1";
constexpr std::chrono::seconds kPatience{5};  // for one answer

using Properties = std::map<std::string, sdbus::Variant>;
using Interfaces = std::map<std::string, Properties>;
using Objects = std::map<sdbus::ObjectPath, Interfaces>;

struct Row {
  const char* error;
  const char* meaning;
};

// By the beginning of the error's name.
constexpr Row kMeanings[] = {
    {"org.freedesktop.DBus.Error.ServiceUnknown",
     "BlueZ is not running; install the package bluez and start it with: systemctl start bluetooth"},
    {"org.freedesktop.DBus.Error.NameHasNoOwner",
     "BlueZ is not running; install the package bluez and start it with: systemctl start bluetooth"},
    {"org.freedesktop.DBus.Error.Spawn.",
     "BlueZ is not running and cannot be started; install the package bluez, and see what systemctl status bluetooth "
     "says"},
    {"org.freedesktop.DBus.Error.AccessDenied",
     "this user may not talk to BlueZ; log in at the machine itself or join the group \"bluetooth\""},
    {"org.freedesktop.DBus.Error.NoReply", "BlueZ does not answer; restart it with: systemctl restart bluetooth"},
    {"org.freedesktop.DBus.Error.Timeout", "BlueZ does not answer; restart it with: systemctl restart bluetooth"},
    {"org.freedesktop.DBus.Error.UnknownMethod", "what answers in BlueZ's name is not BlueZ; restart it"},
    {"org.bluez.Error.NotReady", "Bluetooth is switched off; switch it on with: bluetoothctl power on"},
};

[[noreturn]] void Fail(const std::string& doing, const sdbus::Error& error) {
  const Row* row = std::ranges::find_if(kMeanings, [&](const Row& r) { return error.getName().starts_with(r.error); });
  throw Failure(Exit::kNoDevice, row != std::end(kMeanings)
                                     ? std::string(row->meaning)
                                     : fmt::format("BlueZ: {}: {}: {}", doing, error.getName(), error.getMessage()));
}

// A property, or a default where it is missing or of another type: the program at the other end is not ours.
template <typename T>
T Get(const Properties& properties, const char* name, T otherwise) {
  const auto found = properties.find(name);
  if (found == properties.end()) return otherwise;
  try {
    return found->second.get<T>();
  } catch (const sdbus::Error&) {
    return otherwise;
  }
}

std::string LastPart(const std::string& path) { return path.substr(path.rfind('/') + 1); }

class BluezDirectory : public Directory {
 public:
  BluezDirectory() {
    try {
      bus_ = sdbus::createSystemBusConnection();
    } catch (const sdbus::Error& error) {
      throw Failure(Exit::kNoDevice, fmt::format("the system's message bus cannot be reached: {}; install and start "
                                                 "dbus, and see whether DBUS_SYSTEM_BUS_ADDRESS is right",
                                                 error.getMessage()));
    }
  }

  std::vector<KnownAdapter> Adapters() override {
    std::vector<KnownAdapter> adapters;
    ForEach(kAdapterInterface, [&](const std::string& path, const DeviceAddress& address, const Properties& adapter) {
      adapters.push_back({LastPart(path), address, Get(adapter, "Powered", false)});
    });
    return adapters;
  }

  std::vector<KnownDevice> Devices() override {
    std::vector<KnownDevice> devices;
    ForEach(kDeviceInterface, [&](const std::string& path, const DeviceAddress& address, const Properties& device) {
      const std::string owner = path.substr(0, path.rfind('/'));
      devices.push_back({.adapter = LastPart(Get(device, "Adapter", sdbus::ObjectPath(owner))),
                         .address = address,
                         .name = Get(device, "Name", std::string()),
                         .paired = Get(device, "Paired", false),
                         .connected = Get(device, "Connected", false),
                         .low_energy_only = Get(device, "AddressType", std::string()) == "random"});
    });
    return devices;
  }

  void StartDiscovery(const KnownAdapter& adapter) override {
    const auto proxy = At("/org/bluez/" + adapter.name);
    try {
      const Properties filter = {{"Transport", sdbus::Variant(std::string("bredr"))}};
      proxy->callMethod("SetDiscoveryFilter")
          .onInterface(kAdapterInterface)
          .withTimeout(kPatience)
          .withArguments(filter);
      proxy->callMethod("StartDiscovery").onInterface(kAdapterInterface).withTimeout(kPatience);
    } catch (const sdbus::Error& error) {
      if (error.getName() != "org.bluez.Error.InProgress") Fail("StartDiscovery", error);
    }
  }

  void StopDiscovery(const KnownAdapter& adapter) override {
    try {
      At("/org/bluez/" + adapter.name)
          ->callMethod("StopDiscovery")
          .onInterface(kAdapterInterface)
          .withTimeout(kPatience);
    } catch (const sdbus::Error&) {
      // It has stopped by itself, or ends when we do.
    }
  }

 private:
  std::unique_ptr<sdbus::IProxy> At(const std::string& path) { return sdbus::createProxy(*bus_, kService, path); }

  template <typename Visit>
  void ForEach(const char* interface, Visit visit) {
    Objects objects;
    try {
      At("/")
          ->callMethod("GetManagedObjects")
          .onInterface("org.freedesktop.DBus.ObjectManager")
          .withTimeout(kPatience)
          .storeResultsTo(objects);
    } catch (const sdbus::Error& error) {
      Fail("GetManagedObjects", error);
    }
    for (const auto& [path, interfaces] : objects) {
      const auto found = interfaces.find(interface);
      if (found == interfaces.end()) continue;
      const auto address = DeviceAddress::Parse(Get(found->second, "Address", std::string()));
      if (address) visit(path, *address, found->second);
    }
  }

  std::unique_ptr<sdbus::IConnection> bus_;
};

}  // namespace

std::unique_ptr<Directory> OpenDirectory() { return std::make_unique<BluezDirectory>(); }

}  // namespace brelix::bluetooth
