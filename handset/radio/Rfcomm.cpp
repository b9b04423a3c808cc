#include "handset/radio/Rfcomm.h"

#include <algorithm>
#include <cerrno>
#include <fmt/format.h>
#include <sys/socket.h>
#include <system_error>

namespace handset {

namespace {

// include/net/bluetooth/bluetooth.h and rfcomm.h of the kernel.
constexpr int kRfcommProtocol = 3;
constexpr int kBluetoothLevel = 274;
constexpr int kSecurityOption = 4;

struct RfcommAddress {
  sa_family_t family;
  BluetoothAddress adapter;
  std::uint8_t channel;
};
static_assert(sizeof(RfcommAddress) == 10);

struct SecurityLevel {
  std::uint8_t level;
  std::uint8_t keySize;
};
static_assert(sizeof(SecurityLevel) == 2);

[[noreturn]] void ThrowError(const char* what) { throw std::system_error(errno, std::generic_category(), what); }

int DigitOf(char digit) {
  constexpr std::string_view kDigits = "0123456789abcdef";
  const auto lower = static_cast<char>(digit >= 'A' && digit <= 'F' ? digit + ('a' - 'A') : digit);
  const std::size_t at = kDigits.find(lower);
  return at == std::string_view::npos ? -1 : static_cast<int>(at);
}

}  // namespace

std::optional<BluetoothAddress> FindBluetoothAddress(const std::string& text) {
  constexpr std::size_t kLength = 17;
  BluetoothAddress address{};
  bool good = text.size() == kLength;
  for (std::size_t i = 0; good && i < address.size(); ++i) {
    const int high = DigitOf(text[3 * i]);
    const int low = DigitOf(text[3 * i + 1]);
    good = high >= 0 && low >= 0 && (i + 1 == address.size() || text[3 * i + 2] == ':');
    address[address.size() - 1 - i] = static_cast<std::uint8_t>(high << 4 | low);
  }
  return good ? std::optional(address) : std::nullopt;
}

std::string ToText(const BluetoothAddress& address) {
  return fmt::format("{:02X}:{:02X}:{:02X}:{:02X}:{:02X}:{:02X}", address[5], address[4], address[3], address[2],
                     address[1], address[0]);
}

UniqueFd NewRfcommSocket() {
  UniqueFd made(socket(AF_BLUETOOTH, SOCK_STREAM | SOCK_CLOEXEC, kRfcommProtocol));
  if (!made) ThrowError("socket");
  return made;
}

void BindRfcomm(int socket, const BluetoothAddress& adapter, std::uint32_t channel) {
  // The kernel takes numbers that are no channels.
  if (channel < kFirstChannel || channel > kLastChannel) {
    throw std::system_error(EINVAL, std::generic_category(), "bind");
  }
  const RfcommAddress address{AF_BLUETOOTH, adapter, static_cast<std::uint8_t>(channel)};
  if (bind(socket, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) ThrowError("bind");
}

void SetLinkSecurity(int socket, LinkSecurity security) {
  const SecurityLevel level{static_cast<std::uint8_t>(security), 0};
  if (setsockopt(socket, kBluetoothLevel, kSecurityOption, &level, sizeof level) != 0) ThrowError("setsockopt");
}

bool IsChannelFree(const BluetoothAddress& adapter, std::uint32_t channel) {
  try {
    BindRfcomm(NewRfcommSocket().Get(), adapter, channel);
    return true;
  } catch (const std::system_error& error) {
    if (error.code() == std::errc::address_in_use) return false;
    // An adapter that is gone by now holds no channel.
    if (error.code() == std::errc::address_not_available) return true;
    throw;
  }
}

std::uint32_t FindFreeChannel(std::span<const BluetoothAddress> adapters, const ChannelProbe& isFree) {
  for (std::uint32_t channel = kFirstChannel; channel <= kLastChannel; ++channel) {
    const auto free = [&](const BluetoothAddress& adapter) { return isFree(adapter, channel); };
    if (free(kAnyAdapter) && std::ranges::all_of(adapters, free)) return channel;
  }
  return 0;
}

}  // namespace handset
