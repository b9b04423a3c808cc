// What stands behind a phone's Bluetooth calls.
#pragma once

#include <cstdint>

namespace handset {

enum class RadioProvider : std::uint8_t { kScripted, kBluez };

}  // namespace handset
