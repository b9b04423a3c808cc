#include "desktop/bluetooth/Address.h"

#include <algorithm>
#include <charconv>
#include <fmt/format.h>
#include <fmt/ranges.h>

#include "desktop/Failure.h"

namespace brelix::bluetooth {
namespace {

constexpr std::string_view kScheme = "bluetooth:";
constexpr size_t kAddressLength = 17;

std::optional<uint8_t> ParseChannel(std::string_view text) {
  unsigned number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc() || end != text.data() + text.size() || text.size() > 2 || !IsChannel(number))
    return std::nullopt;
  return static_cast<uint8_t>(number);
}

}  // namespace

DeviceAddress::DeviceAddress(const KernelAddress& address) {
  std::reverse_copy(std::begin(address.bytes), std::end(address.bytes), bytes_.begin());
}

std::optional<DeviceAddress> DeviceAddress::Parse(std::string_view text) {
  if (text.size() != kAddressLength) return std::nullopt;
  DeviceAddress address;
  for (size_t i = 0; i < address.bytes_.size(); i++) {
    const char* pair = text.data() + 3 * i;
    if (i > 0 && pair[-1] != ':') return std::nullopt;
    const auto [end, error] = std::from_chars(pair, pair + 2, address.bytes_[i], 16);
    if (error != std::errc() || end != pair + 2) return std::nullopt;
  }
  const auto all = [&](uint8_t value) { return std::ranges::count(address.bytes_, value) == 6; };
  if (all(0x00) || all(0xFF)) return std::nullopt;
  return address;
}

KernelAddress DeviceAddress::ForKernel() const {
  KernelAddress address;
  std::reverse_copy(bytes_.begin(), bytes_.end(), std::begin(address.bytes));
  return address;
}

std::string DeviceAddress::Text() const { return fmt::format("{:02X}", fmt::join(bytes_, ":")); }

PhoneAddress ParsePhoneAddress(const std::string& address) {
  std::string_view rest = address;
  rest.remove_prefix(std::min(kScheme.size(), rest.size()));
  const size_t slash = rest.find('/');
  const auto device = DeviceAddress::Parse(rest.substr(0, slash));
  if (!device)
    throw Failure(Exit::kUsage, fmt::format("device address \"{}\": expected bluetooth:AA:BB:CC:DD:EE:FF, with "
                                            "hexadecimal digits; brelix devices lists the phones in reach",
                                            address));
  PhoneAddress phone{*device, std::nullopt};
  if (slash == rest.npos) return phone;
  phone.channel = ParseChannel(rest.substr(slash + 1));
  if (!phone.channel)
    throw Failure(Exit::kUsage, fmt::format("device address \"{}\": a channel is a number from 1 to 30; without one it "
                                            "is looked up",
                                            address));
  return phone;
}

}  // namespace brelix::bluetooth
