// This computer's Bluetooth adapters, as the kernel knows them, and what keeps a connection from being made.
#pragma once

#include <string>
#include <vector>

#include "desktop/bluetooth/Address.h"

namespace brelix::bluetooth {

struct Adapter {
  std::string name;  // hci0
  DeviceAddress address;
  bool up = false;
};

// By their names. None where there are none or the kernel has no Bluetooth.
std::vector<Adapter> Adapters();

// The adapter by its name ("hci1") or its own address; without a text any adapter, for which the address is all zero.
// Throws a usage failure that lists what there is.
DeviceAddress ChooseAdapter(const std::string& text);

// A way to a device: from one adapter, or from any where `from` is all zero.
struct Route {
  DeviceAddress from, to;
};

// What an error of the kernel's means for somebody who wants to reach a device, and what to do about it.
//   doing    what was tried, for errors that say too little by themselves: "connect"
//   adapters the computer's, which tell apart why nothing can be reached
std::string Explain(const std::string& doing, int error, const Route& route, const std::vector<Adapter>& adapters);

}  // namespace brelix::bluetooth
