// What BlueZ knows of the devices around this computer. It is asked over the system's message bus.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "desktop/bluetooth/Address.h"

namespace brelix::bluetooth {

struct KnownAdapter {
  std::string name;  // hci0
  DeviceAddress address;
  bool powered = false;
};

struct KnownDevice {
  std::string adapter;  // the name of the one that knows it
  DeviceAddress address;
  std::string name;
  bool paired = false;
  bool connected = false;
  bool low_energy_only = false;  // has no serial ports
};

class Directory {
 public:
  virtual ~Directory() = default;
  virtual std::vector<KnownAdapter> Adapters() = 0;
  virtual std::vector<KnownDevice> Devices() = 0;
  // Looks for devices until told to stop, or until the directory is gone. What is found joins what is known.
  virtual void StartDiscovery(const KnownAdapter& adapter) = 0;
  virtual void StopDiscovery(const KnownAdapter& adapter) = 0;
};

// Every failure, here and later, is a no-device failure that says what is missing and what to do.
std::unique_ptr<Directory> OpenDirectory();

}  // namespace brelix::bluetooth
