// Contacts and appointments that a phone may hold, and requests that ask for them, made at random.
#pragma once

#include <nlohmann/json.hpp>

#include "tests/support/Bytes.h"
#include "tests/wince/Random.h"

namespace test {

// A text of a description; null now and then.
nlohmann::json OddText(Random& random);

void AddOddItems(Random& random, nlohmann::json& phone);

// What asks contacts and agenda for something that may be there.
Bytes OddItemFrame(Random& random, std::uint16_t number);

}  // namespace test
