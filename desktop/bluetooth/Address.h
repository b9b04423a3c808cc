// Addresses of Bluetooth devices, and of phones behind them.
#pragma once

#include <array>
#include <compare>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "desktop/bluetooth/Kernel.h"

namespace brelix::bluetooth {

// The address of a device or an adapter: AA:BB:CC:DD:EE:FF, in the order in which it is written.
class DeviceAddress {
 public:
  DeviceAddress() = default;
  explicit DeviceAddress(const KernelAddress& address);

  // Exactly six pairs of hexadecimal digits, upper or lower case, with colons between. Not the address of nobody (all
  // zero) nor that of everybody (all FF).
  static std::optional<DeviceAddress> Parse(std::string_view text);

  KernelAddress ForKernel() const;
  std::string Text() const;
  auto operator<=>(const DeviceAddress&) const = default;

 private:
  std::array<uint8_t, 6> bytes_{};
};

// RFCOMM numbers its channels from 1 to 30.
constexpr bool IsChannel(unsigned number) { return number >= 1 && number <= 30; }

// "bluetooth:ADDRESS[/CHANNEL]". Without a channel it is looked up.
struct PhoneAddress {
  DeviceAddress device;
  std::optional<uint8_t> channel;
};

// Throws a usage failure that says what was expected.
PhoneAddress ParsePhoneAddress(const std::string& address);

}  // namespace brelix::bluetooth
