// The radio of this system: RFCOMM sockets of the kernel, service records and modes of BlueZ.
#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <string>

#include "handset/radio/Radio.h"

namespace handset {

struct BluezOptions {
  // Lets remotes connect that are not paired.
  bool insecure = false;
  // What a person should know, one line each, without an end of line; called on any thread.
  std::function<void(const std::string&)> report;
  // After BlueZ or an adapter came or went, so long is waited for more of it before anything is done. What then fails
  // is tried again: after the first time, then after twice as long each, up to the longest.
  std::chrono::milliseconds settle{300};
  std::chrono::milliseconds firstRetry{1000};
  std::chrono::milliseconds longestRetry{60000};
};

struct BluezPlace {
  std::unique_ptr<Radio> radio;
  std::string address;  // of the adapter, "AA:BB:CC:DD:EE:FF"
  std::string name;     // as remotes see it
};

// Throws RadioError, which says what is missing and what to do: this program was built without D-Bus, BlueZ does not
// run, there is no adapter, the kernel has no Bluetooth.
BluezPlace OpenBluez(BluezOptions options);

}  // namespace handset
