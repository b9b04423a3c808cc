// What a description says of the phone's Bluetooth radio.
#pragma once

#include "handset/store/Description.h"
#include "handset/store/JsonNode.h"

namespace handset {

// Throws DescriptionError.
Bluetooth ParseBluetooth(const JsonNode& node);

nlohmann::json PrintBluetooth(const Bluetooth& bluetooth);

}  // namespace handset
