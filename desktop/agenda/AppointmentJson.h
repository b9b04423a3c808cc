// Appointments for programs.
#pragma once

#include <nlohmann/json.hpp>

#include "desktop/agenda/Appointment.h"

namespace brelix {

// Every member is always there: null where the phone has nothing, "unknown" where it has a value without a word. Times
// are "2009-07-12T13:45:01", in the phone's own time zone; dates of a pattern "2009-07-12". Only "ambiguous"
// is missing where it would be false.
nlohmann::ordered_json ToJson(const Appointment& item);

}  // namespace brelix
