// What stands behind a phone's Bluetooth calls, and the channels that they have.
#pragma once

#include <cstdint>

namespace handset {

enum class RadioProvider : std::uint8_t { kScripted, kBluez };

// RFCOMM has 30 channels.
inline constexpr std::uint32_t kFirstChannel = 1;
inline constexpr std::uint32_t kLastChannel = 30;

}  // namespace handset
