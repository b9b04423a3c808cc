// The text messages that a phone sent, with how they travelled.
#pragma once

#include <nlohmann/json_fwd.hpp>

#include "handset/Handset.h"

namespace handset {

// One object a message, in the order of sending: what a description's outbox says of it, and "report" (whether one was
// asked for), "alphabet" ("GSM 7-bit" or "UCS-2"), "units" (septets or 16-bit units) and "parts".
nlohmann::json ListOutbox(Handset& phone);

}  // namespace handset
