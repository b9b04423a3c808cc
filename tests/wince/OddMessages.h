// Calls, messages and text messages that a phone may hold, and requests that ask for them, made at random.
#pragma once

#include <nlohmann/json.hpp>

#include "tests/support/Bytes.h"
#include "tests/wince/Random.h"

namespace test {

void AddOddMessages(Random& random, nlohmann::json& phone);

// What asks the call log and the messages for something that may be there.
Bytes OddMessageFrame(Random& random, std::uint16_t number);

}  // namespace test
