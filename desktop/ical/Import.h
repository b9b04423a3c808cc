// Appointments out of an iCalendar file, as far as a phone can keep them.
#pragma once

#include <functional>
#include <istream>
#include <string>
#include <vector>

#include "desktop/agenda/Appointment.h"

namespace brelix::ical {

// A time in UTC as the phone's clock would show it.
using UtcToLocal = std::function<LocalTime(const LocalTime& utc)>;

struct ImportedCalendar {
  std::vector<Appointment> appointments;  // in the order of the file; without numbers of the phone
  std::vector<std::string> notes;         // "FILE:LINE: what is not as in the file", in the order of the file
};

// A phone keeps one local time and no zone. Times in a zone stay as they are written; times in UTC become local by
// `to_local`. Everything that is left out or will look different on the phone has a note. Throws a local-file failure,
// "FILE:LINE: what is wrong", for a file that is not a calendar.
ImportedCalendar ReadCalendar(std::istream& in, const std::string& name, const UtcToLocal& to_local);

}  // namespace brelix::ical
