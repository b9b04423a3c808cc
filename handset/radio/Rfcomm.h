// RFCOMM sockets of Linux. What the kernel's Bluetooth headers would say is said here, from its public interface: those
// headers come with BlueZ's library, of which nothing else is needed.
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>

#include "handset/radio/Radio.h"

namespace handset {

// Six bytes, the last one of the written form first.
using BluetoothAddress = std::array<std::uint8_t, 6>;
inline constexpr BluetoothAddress kAnyAdapter{};

// From and to "AA:BB:CC:DD:EE:FF"; absent when it is none.
std::optional<BluetoothAddress> FindBluetoothAddress(const std::string& text);
std::string ToText(const BluetoothAddress& address);

// The link's security, as the kernel numbers it: at kMedium a remote that is not paired is asked to pair first, and the
// link is encrypted.
enum class LinkSecurity : std::uint8_t { kLow = 1, kMedium = 2 };

// All throw std::system_error with the name of what failed.
UniqueFd NewRfcommSocket();
void BindRfcomm(int socket, const BluetoothAddress& adapter, std::uint32_t channel);
void SetLinkSecurity(int socket, LinkSecurity security);

// Whether nobody has bound the channel of this adapter; kAnyAdapter is one of its own.
using ChannelProbe = std::function<bool(const BluetoothAddress& adapter, std::uint32_t channel)>;
// By binding a socket of its own for a moment.
bool IsChannelFree(const BluetoothAddress& adapter, std::uint32_t channel);

// The lowest channel that is free on all adapters and for a socket bound to none; 0 when there is none. A listener
// without an adapter and one of an adapter's own do not disturb each other at bind, but then the latter gets every
// connection.
std::uint32_t FindFreeChannel(std::span<const BluetoothAddress> adapters, const ChannelProbe& isFree = IsChannelFree);

}  // namespace handset
